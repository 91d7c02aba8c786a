#include <algorithm>
#include <cerrno>
#include <utility>

#include "machines/linux/fans/fan_control.h"
#include "machines/linux/fans/permission.h"
#include "machines/linux/watch/fan_watch.h"

// The half of FanControl that takes fans and gives them back.
//
// The watch may have to act while the program has given its privilege up, or gives it up in that
// moment. So a fan is always put back through the attributes that are open, whoever the user is.
// The ledger's line follows: paying it opens the attributes anew and therefore needs the privilege;
// until that is there, it is owed.

namespace linux_machine {

using sysfs::Result;
using sysfs::Trouble;

sysfs::Failure FanControl::canceled() const {
  return {Trouble::given_back, "no fan is forced any more in this run: " + trip_reason_};
}

Result<sysfs::Done> FanControl::may_force(const Fan& fan) {
  if (tripped_) {
    return canceled();
  }
  if (!fan.channel->controllable()) {
    return Failure{Trouble::unsupported, fan.channel->refusal};
  }
  return may_change(surroundings_, *fan.channel);
}

/// Makes this process the one that holds the fans, with all temperatures watched.
Result<sysfs::Done> FanControl::begin_watch() {
  Result<Done> begun = ledger_.begin();
  for (auto one = temperatures_.begin(); begun && one != temperatures_.end(); ++one) {
    begun = ledger_.watch(*one);
  }
  return begun;
}

Result<sysfs::Done> FanControl::tell_watch(const Fan& fan) {
  const TakenChannel& channel = fan.forced->channel();
  return ledger_.watch(WatchedFan{.attribute = channel.input(),
                                  .slow = channel.chip().slow,
                                  .turns_from_ns = fan.forced->turns_from_ns()});
}

Result<sysfs::Done> FanControl::force_all(std::uint16_t bits) {
  std::vector<Fan*> wanted;
  for (std::size_t i = 0; i < fans_.size(); ++i) {
    if (((unsigned{bits} >> i) & 1U) != 0) {
      wanted.push_back(&fans_[i]);
    }
  }
  for (const Fan* fan : wanted) {
    if (Result<Done> may = may_force(*fan); !may) {
      return may;
    }
  }
  if (Result<Done> begun = begin_watch(); !begun) {
    return begun;
  }
  for (Fan* fan : wanted) {
    if (Result<Done> done = force(*fan); !done) {
      for (Fan* other : wanted) {
        if (other->forced) {
          give_back(*other);
        }
      }
      return done;
    }
  }
  if (temperatures_.empty() && !std::exchange(no_temperature_told_, true)) {
    surroundings_.report(
        "fans are forced, and no temperature of the processor is watched: none was found");
  }
  begin_watching();
  return Done{};
}

Result<sysfs::Done> FanControl::force(Fan& fan) {
  if (!fan.no_curve.empty()) {
    surroundings_.report(std::exchange(fan.no_curve, {}));
  }
  std::vector<std::string> noted;
  Result<TakenChannel> taken = TakenChannel::take(surroundings_, ledger_, *fan.channel, noted);
  if (!taken) {
    give_back_lines(noted, fan.channel->enable());
    return taken.failure();
  }
  fan.forced = std::make_unique<ForcedFan>(std::move(*taken), surroundings_.now_ns());
  fan.applied.reset();
  Result<Done> watched = tell_watch(fan);
  return watched && fan.target ? apply_target(fan) : watched;
}

Result<sysfs::Done> FanControl::apply_target(Fan& fan) {
  Result<Done> driven = drive(fan);
  if (fan.forced) {  // a measurement on the way may have ended in giving it back
    tell_watch(fan);
  }
  return driven;
}

Result<sysfs::Done> FanControl::drive(Fan& fan) {
  const double target = *fan.target;
  if (fan.applied == target) {
    return Done{};
  }
  fan.applied.reset();
  const bool below_curve = fan.curve && target < fan.curve->lowest_rpm();
  if (!below_curve && fan.forced->drive_by_chip(target, surroundings_.now_ns())) {
    fan.applied = target;
    return Done{};
  }
  if (!fan.curve && !fan.most) {
    Result<double> maximum = measured_maximum(fan);
    if (!maximum) {
      return maximum.failure();
    }
  }
  const Curve curve = fan.curve ? *fan.curve : Curve::proportional(*fan.most);
  Result<Done> driven = fan.forced->drive_by_pwm(target, curve, surroundings_.now_ns());
  if (driven) {
    fan.applied = target;
  }
  return driven;
}

void FanControl::tell_measurement(Fan& fan) {
  if (!std::exchange(fan.measurement_told, true)) {
    surroundings_.report("measuring the maximum of " + fan.channel->chip + " fan" +
                         std::to_string(fan.channel->channel) +
                         ", up to 10 s; vorn-keys --calibrate avoids it");
  }
}

Result<double> FanControl::measured_maximum(Fan& fan) {
  if (fan.forced) {
    tell_measurement(fan);
  }
  Result<double> maximum =
      fan.forced ? fan.forced->measure_maximum(surroundings_, [this] { return judge(); })
                 : measure_unforced(fan);
  if (maximum) {
    fan.most = *maximum;
  } else {
    trip_if_alarmed();
  }
  return maximum;
}

Result<double> FanControl::measure_unforced(Fan& fan) {
  Result<Done> may = may_force(fan);
  if (may) {
    may = pay_owed();
  }
  if (may) {
    may = begin_watch();
  }
  if (may) {
    may = ledger_.watch(WatchedFan{.attribute = fan.channel->input(),
                                   .slow = fan.channel->kind().slow,
                                   .turns_from_ns = kMayStand});
  }
  if (!may) {
    return may.failure();
  }
  tell_measurement(fan);
  std::vector<std::string> noted;
  Result<TakenChannel> taken = TakenChannel::take(surroundings_, ledger_, *fan.channel, noted);
  Result<double> maximum = taken ? speed_at_full(surroundings_, *taken, [this] { return judge(); })
                                 : Result<double>(taken.failure());
  if (taken) {
    give_back(*taken);
  } else {
    give_back_lines(noted, fan.channel->enable());
  }
  if (maximum && !owed_.empty()) {
    const Result<Done> paid = pay_owed();
    return paid ? maximum : paid.failure();
  }
  return maximum;
}

bool FanControl::shared(const std::string& line) const {
  return std::any_of(fans_.begin(), fans_.end(), [&](const Fan& fan) {
    if (!fan.forced) {
      return false;
    }
    const std::vector<std::string>& lines = fan.forced->channel().lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  });
}

/// Returns whether all are paid.
bool FanControl::give_back_lines(const std::vector<std::string>& lines,
                                 const std::string& attribute) {
  bool paid = true;
  for (const std::string& line : lines) {
    if (!shared(line) && (surroundings_.effective_user() != 0 || !ledger_.give_back(line))) {
      owed_.push_back({line, attribute});
      rounds_owing_ = 0;
      paid = false;
    }
  }
  return paid;
}

/// Returns whether the fan is as it was, as far as its chip tells.
bool FanControl::give_back(Fan& fan) {
  const std::unique_ptr<ForcedFan> forced = std::move(fan.forced);
  fan.applied.reset();
  return give_back(forced->channel());
}

bool FanControl::give_back(TakenChannel& channel) {
  ledger_.forget_fan(channel.input());
  if (alarm_ && alarm_->given_back) {
    return undo_late_command(channel);
  }
  const std::vector<std::string>& lines = channel.lines();
  const bool needed = std::any_of(lines.begin(), lines.end(),
                                  [this](const std::string& line) { return shared(line); });
  const auto mode_switch = needed ? TakenChannel::Switch::leave : TakenChannel::Switch::put_back;
  channel.put_back(mode_switch);
  // A line that cannot be paid may have ended at full speed.
  return give_back_lines(lines, channel.enable()) || channel.put_back(mode_switch);
}

/// The guardian has given the fan back. A command that was under way when this process was stopped
/// comes after that; what stands as it was forced is ours still. Whatever else it is, is somebody
/// else's by now.
bool FanControl::undo_late_command(TakenChannel& channel) {
  for (const std::string& line : channel.lines()) {
    ledger_.give_back(line);
  }
  return !channel.is_in_its_mode() || channel.put_back(TakenChannel::Switch::put_back);
}

Result<sysfs::Done> FanControl::pay_owed() {
  std::erase_if(owed_, [this](const Owed& owed) { return ledger_.give_back(owed.line); });
  if (owed_.empty()) {
    return Done{};
  }
  return Failure{Trouble::silent, owed_.front().attribute + " could not be put back"};
}

}  // namespace linux_machine
