#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "lab/analysis/sensor_truth.h"
#include "lab/data/estimate.h"
#include "lab/data/table.h"

namespace lab {

/// A column in a few numbers. NaN where nothing was measured.
struct ColumnStatistics {
  std::size_t measured = 0;  ///< values that are there
  std::size_t missing = 0;
  Estimate mean;
  double deviation = 0;  ///< standard deviation
  double minimum = 0;
  double percentile_5 = 0;
  double median = 0;
  double percentile_95 = 0;
  double maximum = 0;
  double independent = 0;  ///< how many independent values the new measurements are worth
  SensorTruth sensor;
};

/// The statistics of a column. The interval of the mean takes correlation as it is: n values count
/// as n / (1 + 2 sum of correlations), and values that a slow sensor repeats do not count. A still
/// value on a coarse sensor may be off by half a step however long it is watched, and its interval
/// says so.
ColumnStatistics column_statistics(const std::vector<double>& time_s, const Column& column);

}  // namespace lab
