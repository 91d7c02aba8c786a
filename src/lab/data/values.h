#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace lab {

/// The values that were measured: those that are finite.
std::vector<double> finite_values(const std::vector<double>& values);

/// The value below which the part `share` of all lie: one of them, and none between two. Takes
/// linear time. Requires: values are not empty and finite, 0 <= share <= 1.
template <class Number>
Number share_below(std::vector<Number> values, double share) {
  const auto at =
      values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

}  // namespace lab
