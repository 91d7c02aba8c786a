#include "lab/report/thinning.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace lab {

namespace {

struct Extremes {
  double first = std::numeric_limits<double>::quiet_NaN();
  double second = std::numeric_limits<double>::quiet_NaN();
};

Extremes extremes(const std::vector<double>& y, std::size_t begin, std::size_t end) {
  std::size_t least = end;
  std::size_t largest = end;
  for (std::size_t row = begin; row < end; ++row) {
    if (std::isnan(y[row])) {
      continue;
    }
    if (least == end || y[row] < y[least]) {
      least = row;
    }
    if (largest == end || y[row] > y[largest]) {
      largest = row;
    }
  }
  if (least == end) {
    return {};
  }
  return {.first = y[std::min(least, largest)], .second = y[std::max(least, largest)]};
}

}  // namespace

Thinning::Thinning(std::size_t rows, std::size_t most, const std::vector<std::size_t>& breaks)
    : rows_(rows) {
  if (rows <= most) {
    return;
  }
  const std::size_t buckets = std::max<std::size_t>(most / 2, 1);
  std::vector<std::size_t> even;
  for (std::size_t bucket = 0; bucket <= buckets; ++bucket) {
    even.push_back(bucket * rows / buckets);
  }
  std::vector<std::size_t> after_breaks;
  std::transform(breaks.begin(), breaks.end(), std::back_inserter(after_breaks),
                 [](std::size_t row) { return row + 1; });
  std::set_union(even.begin(), even.end(), after_breaks.begin(), after_breaks.end(),
                 std::back_inserter(begins_));
}

std::vector<double> Thinning::positions(const std::vector<double>& x) const {
  if (whole()) {
    return x;
  }
  std::vector<double> thinned;
  for (std::size_t i = 0; i + 1 < begins_.size(); ++i) {
    thinned.push_back(x[begins_[i]]);
    thinned.push_back(x[begins_[i + 1] - 1]);
  }
  return thinned;
}

std::vector<double> Thinning::values(const std::vector<double>& y) const {
  if (whole()) {
    return y;
  }
  std::vector<double> thinned;
  for (std::size_t i = 0; i + 1 < begins_.size(); ++i) {
    const Extremes both = extremes(y, begins_[i], begins_[i + 1]);
    thinned.push_back(both.first);
    thinned.push_back(both.second);
  }
  return thinned;
}

double Thinning::rows_in_a_bucket() const {
  return whole() ? 1 : static_cast<double>(rows_) / static_cast<double>(begins_.size() - 1);
}

Series thinned(const Series& series, std::size_t most) {
  if (!std::is_sorted(series.x.begin(), series.x.end())) {
    return series;
  }
  const Thinning thinning(series.x.size(), most);
  const bool band = series.low.size() == series.x.size() && series.high.size() == series.x.size();
  return {.name = series.name,
          .style = series.style,
          .x = thinning.positions(series.x),
          .y = thinning.values(series.y),
          .low = band ? thinning.values(series.low) : std::vector<double>(),
          .high = band ? thinning.values(series.high) : std::vector<double>()};
}

}  // namespace lab
