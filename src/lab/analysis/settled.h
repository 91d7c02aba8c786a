#pragma once

#include <deque>
#include <span>

namespace lab {

/// Whether a value has come to rest.
struct Settledness {
  bool known = false;    ///< a whole stretch was seen
  bool settled = false;  ///< what is still to come is less than what was allowed
  double to_come = 0;    ///< bound on how far the value still goes; infinite if not known
  double drift = 0;      ///< over the stretch, by a straight line
  bool coarse = false;   ///< the sensor's step is too wide for what was allowed: half of it was
};

/// Watches a value over its last `stretch_s` seconds and tells whether it has settled to within
/// `allowed`. Means of thirds of the stretch tell how an exponential goes on: if the last change is
/// d and the one before it d / r, d r / (1 - r) is still to come. The noise of the means widens
/// that. Choose a stretch of about the slowest time constant. Adding and judging take constant
/// time. Source: Aitken's extrapolation.
class SettledWatch {
 public:
  /// `step`: of the sensor, 0 if it has none. Requires: stretch_s > 0, allowed > 0.
  SettledWatch(double stretch_s, double allowed, double step = 0);

  /// Takes a measurement; NaN is none. Instants must not go back. Thread: one at a time.
  void add(double time_s, double value);

  Settledness judge() const;

 private:
  // Means of parts of the stretch, all that is kept.
  struct Part {
    double index = 0;
    double sum = 0;
    double count = 0;
  };

  double part_s_;
  double allowed_;
  bool coarse_;
  std::deque<Part> parts_;
};

/// Judges a whole record as one stretch.
Settledness judge_settled(std::span<const double> time_s, std::span<const double> values,
                          double allowed, double step = 0);

}  // namespace lab
