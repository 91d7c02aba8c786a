#include "machines/linux/fans/regulator.h"

#include <algorithm>
#include <cmath>

namespace linux_machine {
namespace {

constexpr double kDeadbandRpm = 50;  // what tachometers and bearings wander by
constexpr double kDeadband = 0.03;

// Less than the whole error, so that a curve steeper here than on the whole does not overshoot.
constexpr double kGain = 0.7;

constexpr int kMostStep = 16;  // of pwm: 6 % a correction, which nobody hears as a jump

// A change that is less than so much of the expected one is none: even a fan that has gone only
// half its way, on a curve three times too steep, shows more.
constexpr double kNoChange = 0.1;

// A correction by less than the whole error that leads past the target halves the error at least,
// unless the chip rounds its pwm.
constexpr double kNotNearer = 0.5;

// One may come of a pwm that someone else wrote.
constexpr int kMostOvershoots = 2;

double deadband(double target_rpm) {
  return std::max(kDeadbandRpm, kDeadband * target_rpm);
}

}  // namespace

Command command_for(double target_rpm, const Curve& curve, Motion motion) {
  if (target_rpm <= 0 && curve.can_stop()) {
    return {0, std::nullopt};
  }
  Command command{curve.pwm_for(target_rpm), std::nullopt};
  if (motion == Motion::at_rest && command.pwm < curve.start_pwm()) {
    command.kick = curve.start_pwm();
  }
  return command;
}

std::optional<int> corrected_pwm(double target_rpm, double measured_rpm, int pwm,
                                 const Curve& curve, std::int64_t since_ns) {
  // At the lowest steady pwm, at standstill and before a change has shown nothing is to be learnt.
  if (since_ns < kCorrectionNs || target_rpm <= curve.lowest_rpm() || measured_rpm <= 0) {
    return std::nullopt;
  }
  const double target = std::min(target_rpm, curve.greatest_rpm());
  const double error = target - measured_rpm;
  if (std::abs(error) <= deadband(target)) {
    return std::nullopt;
  }
  const double rpm_per_step = std::max(curve.rpm_per_step(), 1.0);
  const auto limit = static_cast<double>(kMostStep);
  const double step = std::clamp(kGain * error / rpm_per_step, -limit, limit);
  const int whole = static_cast<int>(step > 0 ? std::ceil(step) : std::floor(step));
  const int next = std::clamp(pwm + whole, curve.lowest_pwm(), kFullPwm);
  return next == pwm ? std::nullopt : std::optional<int>(next);
}

bool Regulator::rests(double target_rpm, double measured_rpm) {
  if (!gave_up_) {
    return false;
  }
  if (!rests_at_rpm_) {
    rests_at_rpm_ = measured_rpm;
  }
  if (std::abs(measured_rpm - *rests_at_rpm_) <= deadband(target_rpm)) {
    return true;
  }
  begin_anew();
  return false;
}

std::optional<int> Regulator::next_pwm(double target_rpm, double measured_rpm, int pwm,
                                       const Curve& curve, std::int64_t since_ns) {
  if (since_ns < kCorrectionNs) {
    return std::nullopt;
  }
  const double target = std::min(target_rpm, curve.greatest_rpm());
  const double error = target - measured_rpm;
  if (std::abs(error) <= deadband(target)) {
    begin_anew();
    return std::nullopt;
  }
  if (rests(target, measured_rpm)) {
    return std::nullopt;
  }
  if (last_) {
    const double error_before = target - last_->rpm_before;
    const double expected = std::abs(last_->pwm - last_->pwm_before) * curve.rpm_per_step();
    const bool unchanged = std::abs(measured_rpm - last_->rpm_before) < kNoChange * expected;
    const bool past = error * error_before < 0;
    overshoots_ += past && std::abs(error) > kNotNearer * std::abs(error_before) ? 1 : 0;
    gave_up_ = unchanged || overshoots_ == kMostOvershoots;
    if (gave_up_) {
      const bool farther = past && std::abs(error) > std::abs(error_before);
      return farther ? std::optional<int>(last_->pwm_before) : std::nullopt;
    }
  }
  const std::optional<int> next = corrected_pwm(target_rpm, measured_rpm, pwm, curve, since_ns);
  if (next) {
    last_ = Correction{measured_rpm, pwm, *next};
  }
  return next;
}

}  // namespace linux_machine
