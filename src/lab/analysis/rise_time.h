#pragma once

#include <optional>
#include <span>
#include <vector>

namespace lab {

/// A step of the load: the level that was asked for changed at `time_s`, and had been and stayed
/// for `before_s` and `after_s`.
struct LoadStep {
  double time_s = 0;
  double before_s = 0;
  double after_s = 0;
};

/// How a reading follows a step of the load.
struct RiseTime {
  double delay_s = 0;  ///< from the step to half of the way
  double rise_s = 0;   ///< from a tenth of the way to nine tenths
  std::size_t steps = 0;
  std::vector<double> since_s;  ///< the mean way over the time since the step
  std::vector<double> way;      ///< 0: the level before, 1: the level after
};

/// Lays all steps over each other. Samples do not lie on the steps, and differently at each of
/// them: so the mean curve shows more than the distance of the samples. Nothing if there are fewer
/// than three steps that stand out of what the reading does by itself.
std::optional<RiseTime> rise_time(std::span<const double> time_s, std::span<const double> values,
                                  std::span<const LoadStep> steps);

}  // namespace lab
