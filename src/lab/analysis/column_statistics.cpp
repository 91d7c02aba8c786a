#include "lab/analysis/column_statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/analysis/noise.h"
#include "lab/analysis/quantile.h"

namespace lab {

namespace {

// Correlation over more values than this is looked for between means of neighbours.
constexpr std::size_t kMostBatches = 8192;

// Puts the values into another order.
double percentile(std::vector<double>& values, double share) {
  const double at = share * static_cast<double>(values.size() - 1);
  const auto below = values.begin() + static_cast<std::ptrdiff_t>(at);
  std::nth_element(values.begin(), below, values.end());
  if (below + 1 == values.end()) {
    return *below;
  }
  const double above = *std::min_element(below + 1, values.end());
  return *below + (at - std::floor(at)) * (above - *below);
}

// Source: batch means, for example Law, Simulation Modeling and Analysis, chapter 9.
Eigen::VectorXd departures(const std::vector<double>& values, double mean) {
  const std::size_t together = (values.size() + kMostBatches - 1) / kMostBatches;
  const std::size_t batches = values.size() / together;
  Eigen::VectorXd result(static_cast<Eigen::Index>(batches));
  for (std::size_t batch = 0; batch < batches; ++batch) {
    double sum = 0;
    for (std::size_t at = batch * together; at < (batch + 1) * together; ++at) {
      sum += values[at] - mean;
    }
    result[static_cast<Eigen::Index>(batch)] = sum / static_cast<double>(together);
  }
  return result;
}

}  // namespace

ColumnStatistics column_statistics(const std::vector<double>& time_s, const Column& column) {
  ColumnStatistics result;
  result.sensor = sensor_truth(time_s, column.values);
  std::vector<double> all;
  std::vector<double> fresh;
  for (std::size_t at = 0; at < column.values.size(); ++at) {
    if (std::isfinite(column.values[at])) {
      all.push_back(column.values[at]);
      if (result.sensor.fresh[at]) {
        fresh.push_back(column.values[at]);
      }
    }
  }
  result.measured = all.size();
  result.missing = column.values.size() - all.size();
  result.mean.unit = column.unit;
  if (all.empty()) {
    const double none = std::numeric_limits<double>::quiet_NaN();
    result.deviation = result.minimum = result.percentile_5 = result.median = none;
    result.percentile_95 = result.maximum = result.mean.value = none;
    result.mean.low = -std::numeric_limits<double>::infinity();
    result.mean.high = std::numeric_limits<double>::infinity();
    return result;
  }
  const Eigen::Map<const Eigen::VectorXd> whole(all.data(), static_cast<Eigen::Index>(all.size()));
  const double mean = whole.mean();
  result.deviation = std::sqrt((whole.array() - mean).square().mean());
  const Eigen::VectorXd off = departures(fresh, mean);
  const Noise noise = noise_of(off);
  const double batches = effective_count(static_cast<double>(off.size()), noise);
  double half = std::numeric_limits<double>::infinity();
  if (batches > 1) {
    half = two_sided_95(batches - 1) * noise.sigma / std::sqrt(batches);
    const double apart = noise.sigma > 0 ? result.deviation / noise.sigma : 1;
    result.independent =
        std::min(static_cast<double>(fresh.size()), batches * std::max(1.0, apart * apart));
  }
  // Noise of less than this does not move a value over the next step often enough to tell.
  if (result.deviation < 0.3 * result.sensor.step || result.sensor.levels == 1) {
    half += result.sensor.step / 2;
  }
  result.mean = {.value = mean, .low = mean - half, .high = mean + half, .unit = column.unit};
  result.minimum = *std::min_element(all.begin(), all.end());
  result.percentile_5 = percentile(all, 0.05);
  result.median = percentile(all, 0.5);
  result.percentile_95 = percentile(all, 0.95);
  result.maximum = *std::max_element(all.begin(), all.end());
  return result;
}

}  // namespace lab
