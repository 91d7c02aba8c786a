#pragma once

#include <optional>
#include <vector>

namespace linux_machine {

constexpr int kFullPwm = 255;  ///< of pwmN: 100 %

struct CurvePoint {
  int pwm;
  double rpm;
};

/// What speed a fan runs at for a pwm, as measured, and what it does at the lower end. A value.
class Curve {
 public:
  enum class Stop {
    unproven,          ///< it must be kept turning
    stops_and_starts,  ///< seen to stop at pwm 0 and to start again at start_pwm()
  };

  /// `points` in any order; the lowest is the lowest steady speed. A speed that falls where the
  /// pwm rises is taken as noise: the points are made monotone. None if there are fewer than two
  /// points, a pwm is not 1 to 255 or twice there, a speed not above 0, or `start_pwm` below the
  /// lowest.
  static std::optional<Curve> make(std::vector<CurvePoint> points, Stop stop, int start_pwm);

  /// For a fan of which only the greatest speed is known: in proportion, and not below 40 %, since
  /// nothing proves that it turns there. From rest it gets everything.
  static Curve proportional(double greatest_rpm);

  const std::vector<CurvePoint>& points() const { return points_; }
  bool can_stop() const { return stop_ == Stop::stops_and_starts; }
  int start_pwm() const { return start_pwm_; }
  int lowest_pwm() const { return points_.front().pwm; }
  double lowest_rpm() const { return points_.front().rpm; }
  double greatest_rpm() const { return points_.back().rpm; }

  /// The pwm for a speed, between the lowest and the highest measured.
  int pwm_for(double rpm) const;
  double rpm_at(double pwm) const;

  /// How many RPM a step of pwm makes, on the whole.
  double rpm_per_step() const;

 private:
  Curve(std::vector<CurvePoint> points, Stop stop, int start_pwm)
      : points_(std::move(points)), stop_(stop), start_pwm_(start_pwm) {}

  std::vector<CurvePoint> points_;  ///< two at least, pwm rising, rpm not falling
  Stop stop_;
  int start_pwm_;
};

/// The floor of a fan without a curve: 40 % of the pwm's range.
constexpr int kUnprovenFloorPwm = 102;

}  // namespace linux_machine
