#include "machines/linux/fans/forced_fan.h"

#include <utility>

#include "machines/linux/fans/regulator.h"

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Result;

constexpr std::int64_t kMaximumPatienceNs = 10 * kNsPerS;  // a key's reader waits for it

}  // namespace

ForcedFan::ForcedFan(TakenChannel channel, std::int64_t now_ns)
    : channel_(std::move(channel)), told_at_ns_(now_ns), corrected_at_ns_(now_ns) {
  found_turning_ = !at_rest();
}

bool ForcedFan::at_rest() {
  const Result<double> rpm = channel_.speed_rpm();
  return rpm && *rpm <= 0;
}

bool ForcedFan::drive_by_chip(double target_rpm, std::int64_t now_ns) {
  if (target_rpm <= 0 || !channel_.hold_target(target_rpm)) {
    return false;
  }
  drive_ = Drive::by_chip;
  target_rpm_ = target_rpm;
  kick_.reset();
  told_at_ns_ = now_ns;
  return true;
}

Result<Done> ForcedFan::drive_by_pwm(double target_rpm, const Curve& curve, std::int64_t now_ns) {
  const bool rests = drive_ == Drive::stopped || kick_ || at_rest();
  const Command command = command_for(target_rpm, curve, rests ? Motion::at_rest : Motion::turning);
  Result<Done> written = channel_.set_pwm(command.kick.value_or(command.pwm));
  if (!written) {
    return written;
  }
  drive_ = command.pwm == 0 ? Drive::stopped : Drive::by_pwm;
  target_rpm_ = target_rpm;
  curve_ = curve;
  kick_.reset();
  if (command.kick) {
    kick_ = Kick{now_ns + kKickNs, command.pwm};
  }
  told_at_ns_ = now_ns;
  corrected_at_ns_ = now_ns;
  return Done{};
}

FanReading ForcedFan::read(std::int64_t now_ns) {
  const bool told_to_turn = drive_ == Drive::held ? found_turning_ : drive_ != Drive::stopped;
  return {channel_.input(), channel_.speed_rpm(),
          told_to_turn && now_ns - told_at_ns_ >= kStartGraceNs};
}

Result<Done> ForcedFan::correct(const Result<double>& rpm, std::int64_t now_ns) {
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
    next = corrected_pwm(target_rpm_, *rpm, channel_.pwm(), *curve_, now_ns - corrected_at_ns_);
  }
  if (!next) {
    return Done{};
  }
  Result<Done> written = channel_.set_pwm(*next);
  if (written) {
    kick_.reset();
    corrected_at_ns_ = now_ns;
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
  told_at_ns_ = corrected_at_ns_ = surroundings.now_ns();
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
