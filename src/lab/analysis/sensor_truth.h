#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace lab {

/// What a sensor really does, found from what it showed.
struct SensorTruth {
  double step = 0;             ///< all values lie on a grid of this; 0: no grid is seen
  std::size_t levels = 0;      ///< different values that it showed; of a long column, at least
  double sampled_every_s = 0;  ///< median distance of the instants at which it was read
  /// From one measurement of the sensor to its next; `sampled_every_s` if it is no slower than it
  /// was read. Nothing if it changed too seldom to tell.
  std::optional<double> update_interval_s;
  std::vector<bool> fresh;  ///< for each value: it is a new measurement, not a repetition

  /// Whether values were read more often than measured.
  bool slow() const { return update_interval_s && *update_interval_s > 1.5 * sampled_every_s; }
};

/// Judges a column. A value that stays may be an old measurement or a still temperature on a coarse
/// sensor. A sensor counts as slow if its changes keep a least distance, lie on multiples of it,
/// and either often jump by more than one step or are too many for that to be chance.
SensorTruth sensor_truth(std::span<const double> time_s, std::span<const double> values);

}  // namespace lab
