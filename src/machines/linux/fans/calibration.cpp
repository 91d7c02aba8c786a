#include "machines/linux/fans/calibration.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "machines/linux/fans/permission.h"
#include "machines/linux/fans/settling.h"
#include "machines/linux/fans/taken_channel.h"
#include "machines/linux/watch/fan_watch.h"

// From full speed downwards, coarsely where a fan follows its pwm, finely where it may stop: the
// last pwm at which it still turned is its lowest steady one. Then the stop: pwm 0 must bring it to
// rest, and the start is sought upwards from the lowest steady pwm; a margin is added and the whole
// done once more, since a fan that started once after a warm run may fail to the next time. Only
// what was seen twice is called proven.

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Failure;
using sysfs::Result;
using sysfs::Trouble;

constexpr std::array kSweep = {255, 192, 128, 96, 64, 48, 40, 32, 24, 16, 8};

constexpr double kLeastChange = 0.10;  // fans that ignore their pwm were seen to change by less

// How fan programs look for the pwm at which a fan starts: by tens, and 20 more to be sure.
constexpr int kStartStep = 10;
constexpr int kStartMargin = 20;

constexpr std::int64_t kStartPatienceNs = 4 * kNsPerS;  // the grace that a started fan gets
constexpr std::int64_t kLookNs = 500 * kNsPerMs;
constexpr int kMostFailedReads = 3;  // in a row

constexpr double kSweepShare = 0.7;  // of the time, roughly

class Calibration {
 public:
  Calibration(const Surroundings& surroundings, const FanChannel& fan, TakenChannel& channel,
              Ledger& ledger, const CalibrationProgress& progress)
      : surroundings_(surroundings),
        fan_(fan),
        channel_(channel),
        ledger_(ledger),
        progress_(progress) {}

  /// None: it does not turn.
  Result<std::optional<Curve>> run();

 private:
  enum class StopTest { passed, does_not_stop };

  Result<Done> may_go_on();
  Result<double> settled_at(int pwm);
  Result<Done> sweep();
  Result<Done> check_range() const;
  Result<StopTest> test_stop();
  Result<bool> stops();
  Result<bool> starts_at(int pwm);
  Result<int> find_start();
  /// Waits until the fan turns (or stands); false if it does not within `patience_ns`.
  Result<bool> comes_to(bool turning, std::int64_t patience_ns);

  Failure does_not_start() const {
    return sysfs::nonsense(fan_.input(), "the fan does not start again");
  }

  const Surroundings& surroundings_;
  const FanChannel& fan_;
  TakenChannel& channel_;
  Ledger& ledger_;
  const CalibrationProgress& progress_;
  std::vector<CurvePoint> points_;
  int start_pwm_ = 0;
};

Result<Done> Calibration::may_go_on() {
  if (const auto alarm = ledger_.alarm()) {
    return Failure{Trouble::given_back, "the measurement was ended: " + alarm->reason};
  }
  return Done{};
}

Result<double> Calibration::settled_at(int pwm) {
  if (const Result<Done> set = channel_.set_pwm(pwm); !set) {
    return set.failure();
  }
  const Result<Settled> settled = settle(
      surroundings_, [this] { return channel_.speed_rpm(); }, [this] { return may_go_on(); },
      kSettlePatienceNs);
  if (!settled) {
    return settled.failure();
  }
  if (!settled->steady) {
    return sysfs::nonsense(fan_.input(), "the speed does not settle at pwm " + std::to_string(pwm));
  }
  return settled->rpm;
}

Result<Done> Calibration::sweep() {
  const int lowest = fan_.is_pump() ? kUnprovenFloorPwm : kSweep.back();
  for (std::size_t i = 0; i < kSweep.size(); ++i) {
    const int pwm = std::max(kSweep[i], lowest);
    progress_(kSweepShare * static_cast<double>(i) / kSweep.size(),
              "the speed at pwm " + std::to_string(pwm));
    const Result<double> rpm = settled_at(pwm);
    if (!rpm) {
      return rpm.failure();
    }
    if (*rpm <= 0) {
      break;
    }
    points_.push_back({pwm, *rpm});
    if (pwm == lowest) {
      break;
    }
  }
  return Done{};
}

Result<Done> Calibration::check_range() const {
  const auto [least, most] =
      std::minmax_element(points_.begin(), points_.end(),
                          [](const CurvePoint& a, const CurvePoint& b) { return a.rpm < b.rpm; });
  if (points_.size() < 2 || most->rpm - least->rpm < kLeastChange * most->rpm) {
    return Failure{
        Trouble::unsupported,
        fan_.input() + ": not controllable: the speed hardly changes with " + fan_.pwm()};
  }
  return Done{};
}

Result<bool> Calibration::comes_to(bool turning, std::int64_t patience_ns) {
  const std::int64_t end = surroundings_.now_ns() + patience_ns;
  int failed = 0;
  while (surroundings_.now_ns() < end) {
    surroundings_.sleep_for(kLookNs);
    if (const Result<Done> go_on = may_go_on(); !go_on) {
      return go_on.failure();
    }
    const Result<double> rpm = channel_.speed_rpm();
    failed = rpm ? 0 : failed + 1;
    if (failed == kMostFailedReads) {
      return rpm.failure();
    }
    if (rpm && (*rpm > 0) == turning) {
      return true;
    }
  }
  return false;
}

Result<bool> Calibration::stops() {
  const Result<Done> set = channel_.set_pwm(0);
  return set ? comes_to(false, kSettlePatienceNs) : set.failure();
}

Result<bool> Calibration::starts_at(int pwm) {
  const Result<Done> set = channel_.set_pwm(pwm);
  return set ? comes_to(true, kStartPatienceNs) : set.failure();
}

/// Requires: the fan is at rest.
Result<int> Calibration::find_start() {
  for (int pwm = points_.back().pwm;; pwm = std::min(pwm + kStartStep, kFullPwm)) {
    progress_(kSweepShare + (1 - kSweepShare) * pwm / (2.0 * kFullPwm),
              "whether it starts at pwm " + std::to_string(pwm));
    const Result<bool> starts = starts_at(pwm);
    if (!starts) {
      return starts.failure();
    }
    if (*starts) {
      return std::min(pwm + kStartMargin, kFullPwm);
    }
    if (pwm == kFullPwm) {
      return does_not_start();
    }
  }
}

Result<Calibration::StopTest> Calibration::test_stop() {
  // What has no label might be a pump: who knows that it is one can still end this.
  progress_(kSweepShare, fan_.label.empty()
                             ? "whether it stops: without a label, it is stopped for a moment"
                             : "whether it stops");
  Result<bool> stopped = stops();
  if (!stopped) {
    return stopped.failure();
  }
  if (!*stopped) {
    return StopTest::does_not_stop;
  }
  const Result<int> start = find_start();
  if (!start) {
    return start.failure();
  }
  progress_((1 + kSweepShare) / 2, "whether it stops and starts again");
  stopped = stops();
  const Result<bool> started = stopped ? starts_at(*start) : stopped;
  if (!started) {
    return started.failure();
  }
  if (!*started) {
    return does_not_start();
  }
  start_pwm_ = *start;
  return *stopped ? StopTest::passed : StopTest::does_not_stop;
}

Result<std::optional<Curve>> Calibration::run() {
  Result<Done> done = sweep();
  if (done && points_.empty()) {
    progress_(1, "it does not turn at full speed");
    return std::optional<Curve>();
  }
  if (done) {
    done = check_range();
  }
  if (!done) {
    return done.failure();
  }
  start_pwm_ = points_.back().pwm;
  Curve::Stop stop = Curve::Stop::unproven;
  if (!fan_.is_pump()) {
    const Result<StopTest> tested = test_stop();
    if (!tested) {
      return tested.failure();
    }
    stop = *tested == StopTest::passed ? Curve::Stop::stops_and_starts : Curve::Stop::unproven;
  }
  progress_(1, "done");
  return Curve::make(points_, stop, start_pwm_);  // check_range() saw that there is one
}

Result<Done> may_calibrate(const Surroundings& surroundings, const FanChannel& fan) {
  if (!fan.measurable) {
    return Failure{Trouble::unsupported, fan.refusal};
  }
  return may_change(surroundings, fan);
}

}  // namespace

Result<std::optional<Curve>> measure_curve(const Surroundings& surroundings, Ledger& ledger,
                                           const FanChannel& fan,
                                           const std::vector<WatchedTemperature>& temperatures,
                                           const CalibrationProgress& progress) {
  Result<Done> may = may_calibrate(surroundings, fan);
  if (may) {
    may = ledger.begin();
  }
  for (auto one = temperatures.begin(); may && one != temperatures.end(); ++one) {
    may = ledger.watch(*one);
  }
  if (may) {
    may = ledger.watch(
        WatchedFan{.attribute = fan.input(), .slow = fan.kind().slow, .turns_from_ns = kMayStand});
  }
  if (!may) {
    return may.failure();
  }
  std::vector<std::string> noted;
  Result<TakenChannel> channel = TakenChannel::take(surroundings, ledger, fan, noted);
  Result<std::optional<Curve>> curve =
      channel ? Calibration(surroundings, fan, *channel, ledger, progress).run()
              : Result<std::optional<Curve>>(channel.failure());
  ledger.forget_fan(fan.input());
  bool given_back = true;
  for (const std::string& line : noted) {
    given_back = ledger.give_back(line) && given_back;
  }
  if (curve && !given_back) {
    return Failure{Trouble::silent, fan.enable() + " could not be put back"};
  }
  return curve;
}

}  // namespace linux_machine
