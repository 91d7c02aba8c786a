#include "lab/report/column_range.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lab {

Range range_of(const std::vector<double>& values) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  Range range{.least = kNone, .mean = kNone, .largest = kNone};
  double sum = 0;
  double count = 0;
  for (const double value : values) {
    if (std::isnan(value)) {
      continue;
    }
    range.least = count == 0 ? value : std::min(range.least, value);
    range.largest = count == 0 ? value : std::max(range.largest, value);
    sum += value;
    ++count;
  }
  if (count > 0) {
    range.mean = sum / count;
  }
  return range;
}

}  // namespace lab
