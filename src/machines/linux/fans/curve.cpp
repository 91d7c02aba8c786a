#include "machines/linux/fans/curve.h"

#include <algorithm>
#include <cmath>

namespace linux_machine {

std::optional<Curve> Curve::make(std::vector<CurvePoint> points, Stop stop, int start_pwm) {
  std::sort(points.begin(), points.end(),
            [](const CurvePoint& a, const CurvePoint& b) { return a.pwm < b.pwm; });
  const bool sound = std::all_of(points.begin(), points.end(), [](const CurvePoint& point) {
    return point.pwm >= 1 && point.pwm <= kFullPwm && std::isfinite(point.rpm) && point.rpm > 0;
  });
  const bool twice =
      std::adjacent_find(points.begin(), points.end(), [](const auto& a, const auto& b) {
        return a.pwm == b.pwm;
      }) != points.end();
  if (points.size() < 2 || !sound || twice || start_pwm < points.front().pwm ||
      start_pwm > kFullPwm) {
    return std::nullopt;
  }
  for (std::size_t i = 1; i < points.size(); ++i) {
    points[i].rpm = std::max(points[i].rpm, points[i - 1].rpm);
  }
  return Curve(std::move(points), stop, start_pwm);
}

Curve Curve::proportional(double greatest_rpm) {
  return Curve(
      {{kUnprovenFloorPwm, greatest_rpm * kUnprovenFloorPwm / kFullPwm}, {kFullPwm, greatest_rpm}},
      Stop::unproven, kFullPwm);
}

int Curve::pwm_for(double rpm) const {
  const auto above = std::find_if(points_.begin(), points_.end(),
                                  [&](const CurvePoint& point) { return point.rpm >= rpm; });
  if (above == points_.begin()) {
    return lowest_pwm();
  }
  if (above == points_.end()) {
    return points_.back().pwm;
  }
  const CurvePoint& high = *above;
  const CurvePoint& low = *(above - 1);  // below `rpm`, so the two differ
  const double share = (rpm - low.rpm) / (high.rpm - low.rpm);
  return low.pwm + static_cast<int>(std::lround(share * (high.pwm - low.pwm)));
}

double Curve::rpm_at(double pwm) const {
  const auto above = std::find_if(points_.begin(), points_.end(),
                                  [&](const CurvePoint& point) { return point.pwm >= pwm; });
  if (above == points_.begin()) {
    return lowest_rpm();
  }
  if (above == points_.end()) {
    return greatest_rpm();
  }
  const CurvePoint& low = *(above - 1);
  return low.rpm + (above->rpm - low.rpm) * (pwm - low.pwm) / (above->pwm - low.pwm);
}

double Curve::rpm_per_step() const {
  return (greatest_rpm() - lowest_rpm()) / (points_.back().pwm - lowest_pwm());
}

}  // namespace linux_machine
