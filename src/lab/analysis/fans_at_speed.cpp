#include "lab/analysis/fans_at_speed.h"

#include <algorithm>
#include <cmath>

#include "lab/data/values.h"

namespace lab {

namespace {

constexpr double kSteady = 0.02;  // of the speed

// The first row from which on a fan keeps the speed that it has most of the time.
std::size_t first_steady(const std::vector<double>& speeds) {
  const std::vector<double> finite = finite_values(speeds);
  if (finite.empty()) {
    return 0;
  }
  const double usual = share_below(finite, 0.5);
  std::size_t first = speeds.size();
  while (first > 0 && !(std::abs(speeds[first - 1] - usual) > kSteady * usual)) {
    --first;
  }
  return first;
}

}  // namespace

std::size_t fans_at_speed(std::span<const double> time_s, const std::vector<Column>& columns,
                          double before_s) {
  std::size_t first = 0;
  for (const Column& column : columns) {
    if (column.unit == "RPM") {
      first = std::max(first, first_steady(column.values));
    }
  }
  return first < time_s.size() && time_s[first] < before_s ? first : 0;
}

}  // namespace lab
