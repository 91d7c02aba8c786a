#include "lab/analysis/spread.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace lab {

Spread::Spread(std::vector<double> times_us, std::size_t missed)
    : sorted_(std::move(times_us)), missed_(missed) {
  std::sort(sorted_.begin(), sorted_.end());
}

double Spread::at(double share) const {
  if (count() == 0) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  const auto rank = static_cast<std::size_t>(std::ceil(share * static_cast<double>(count())));
  const std::size_t index = rank == 0 ? 0 : rank - 1;
  return index < sorted_.size() ? sorted_[index] : std::numeric_limits<double>::infinity();
}

double Spread::most() const {
  return sorted_.empty() ? std::numeric_limits<double>::quiet_NaN() : sorted_.back();
}

}  // namespace lab
