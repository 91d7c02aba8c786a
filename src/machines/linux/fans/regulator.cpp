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
  if (std::abs(error) <= std::max(kDeadbandRpm, kDeadband * target)) {
    return std::nullopt;
  }
  const double rpm_per_step = std::max(curve.rpm_per_step(), 1.0);
  const auto limit = static_cast<double>(kMostStep);
  const double step = std::clamp(kGain * error / rpm_per_step, -limit, limit);
  const int whole = static_cast<int>(step > 0 ? std::ceil(step) : std::floor(step));
  const int next = std::clamp(pwm + whole, curve.lowest_pwm(), kFullPwm);
  return next == pwm ? std::nullopt : std::optional<int>(next);
}

}  // namespace linux_machine
