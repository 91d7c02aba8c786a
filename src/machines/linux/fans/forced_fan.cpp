#include "machines/linux/fans/forced_fan.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "machines/linux/watch/fan_watch.h"

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Result;

constexpr std::int64_t kMaximumPatienceNs = 10 * kNsPerS;  // a key's reader waits for it

// Reads that take 500 ms, and stall the machine. Who watches over the fan reads it too.
constexpr std::int64_t kSeldomNs = 6 * kNsPerS;

constexpr int kMostLosses = 3;  // in a row: who takes the fan away does so for good

// What a chip gets to bring a fan to the target that it holds, and how near that must be: its own
// regulation is slower than ours, and counts in coarse steps.
constexpr std::int64_t kChipPatienceNs = 10 * kNsPerS;
constexpr double kChipMiss = 0.15;
constexpr double kChipMissRpm = 150;

}  // namespace

ForcedFan::ForcedFan(TakenChannel channel, std::int64_t now_ns)
    : channel_(std::move(channel)),
      told_to_turn_ns_(now_ns),
      commanded_ns_(now_ns),
      read_ns_(now_ns) {
  found_turning_ = !at_rest();
}

bool ForcedFan::at_rest() {
  const Result<double> rpm = channel_.speed_rpm();
  return rpm && *rpm <= 0;
}

bool ForcedFan::may_stand() const {
  return drive_ == Drive::held ? !found_turning_ : drive_ == Drive::stopped;
}

/// A fan that turns does not stop when its speed changes: only one that might stand gets the time
/// to start. Else a wave of targets would hide a blocked rotor.
void ForcedFan::head_for(double target_rpm, Drive drive, std::int64_t now_ns) {
  const bool might_stand = may_stand();
  drive_ = drive;
  target_rpm_ = target_rpm;
  is_sure_ = true;
  kick_.reset();
  regulator_.begin_anew();
  commanded_ns_ = now_ns;
  if (might_stand && !may_stand()) {
    told_to_turn_ns_ = now_ns;
  }
}

bool ForcedFan::drive_by_chip(double target_rpm, std::int64_t now_ns) {
  is_sure_ = false;
  if (target_rpm <= 0 || !channel_.hold_target(target_rpm)) {
    return false;
  }
  head_for(target_rpm, Drive::by_chip, now_ns);
  return true;
}

Result<Done> ForcedFan::drive_by_pwm(double target_rpm, const Curve& curve, std::int64_t now_ns) {
  is_sure_ = false;
  const bool rests = drive_ == Drive::stopped || kick_ || at_rest();
  const Command command = command_for(target_rpm, curve, rests ? Motion::at_rest : Motion::turning);
  Result<Done> written = channel_.set_pwm(command.kick.value_or(command.pwm));
  if (!written) {
    return written;
  }
  head_for(target_rpm, command.pwm == 0 ? Drive::stopped : Drive::by_pwm, now_ns);
  curve_ = curve;
  if (command.kick) {
    kick_ = Kick{now_ns + kKickNs, command.pwm};
  }
  return Done{};
}

bool ForcedFan::read_is_due(std::int64_t now_ns) const {
  return !channel_.chip().slow || now_ns - read_ns_ >= kSeldomNs;
}

Result<double> ForcedFan::read(std::int64_t now_ns) {
  read_ns_ = now_ns;
  return channel_.speed_rpm();
}

std::int64_t ForcedFan::turns_from_ns() const {
  return may_stand() ? kMayStand : told_to_turn_ns_ + kStartGraceNs;
}

std::optional<std::string> ForcedFan::keep_mode(std::int64_t now_ns) {
  if (channel_.is_in_its_mode()) {
    times_lost_ = 0;
    return std::nullopt;
  }
  const std::string reason = channel_.enable() + " does not stay in manual mode";
  if (++times_lost_ == kMostLosses) {
    return reason;
  }
  const Result<Done> entered = channel_.enter_again(target_rpm_);
  if (!entered) {
    return reason + ": " + entered.failure().message;
  }
  regulator_.begin_anew();
  commanded_ns_ = now_ns;
  return std::nullopt;
}

bool ForcedFan::chip_misses_target(double rpm, double greatest_rpm, std::int64_t now_ns) const {
  if (drive_ != Drive::by_chip || now_ns - commanded_ns_ < kChipPatienceNs) {
    return false;
  }
  const double target = std::min(target_rpm_, greatest_rpm);
  return std::abs(rpm - target) > std::max(kChipMissRpm, kChipMiss * target);
}

void ForcedFan::give_up_chip() {
  channel_.give_up_target();
  is_sure_ = false;
}

Result<Done> ForcedFan::correct(const std::optional<double>& rpm, std::int64_t now_ns) {
  if (drive_ != Drive::by_pwm) {
    return Done{};
  }
  std::optional<int> next;
  if (kick_) {
    if (now_ns < kick_->until_ns) {
      return Done{};
    }
    next = kick_->then_pwm;
  } else if (rpm) {
    next = regulator_.next_pwm(target_rpm_, *rpm, channel_.pwm(), *curve_, now_ns - commanded_ns_);
  }
  if (!next) {
    return Done{};
  }
  Result<Done> written = channel_.set_pwm(*next);
  if (written) {
    kick_.reset();
    commanded_ns_ = now_ns;
  } else {
    regulator_.begin_anew();
  }
  return written;
}

Result<double> ForcedFan::measure_maximum(const Surroundings& surroundings,
                                          const MayGoOn& may_go_on) {
  const bool held_target = channel_.holds_target();
  const int pwm = kick_ ? kick_->then_pwm : channel_.pwm();
  kick_.reset();
  Result<double> maximum = speed_at_full(surroundings, channel_, may_go_on);
  const bool by_chip = held_target && channel_.hold_target(target_rpm_);
  const Result<Done> back = by_chip ? Result<Done>(Done{}) : channel_.set_pwm(pwm);
  regulator_.begin_anew();
  commanded_ns_ = surroundings.now_ns();
  return back || !maximum ? maximum : back.failure();
}

Result<double> speed_at_full(const Surroundings& surroundings, TakenChannel& channel,
                             const MayGoOn& may_go_on) {
  const Result<Done> full = channel.set_pwm(kFullPwm);
  if (!full) {
    return full.failure();
  }
  const Result<Settled> settled = settle(
      surroundings, [&] { return channel.speed_rpm(); }, may_go_on, kMaximumPatienceNs);
  if (!settled) {
    return settled.failure();
  }
  if (settled->rpm <= 0) {
    return sysfs::nonsense(channel.input(), "the fan does not turn at full speed");
  }
  return settled->rpm;
}

}  // namespace linux_machine
