#pragma once

#include <cmath>
#include <limits>

/// `value` truncated toward zero. What does not fit becomes the nearest value that does, and NaN
/// becomes 0: a conversion by the language alone would be undefined for both.
template <class Integer>
Integer truncate_saturating(float value) {
  using Limits = std::numeric_limits<Integer>;
  // Both exact: 0 or a power of two, the maximum being rounded up to the next one.
  constexpr float kLeast = static_cast<float>(Limits::min());
  constexpr float kTooLarge = static_cast<float>(Limits::max());
  if (std::isnan(value)) {
    return 0;
  }
  if (value <= kLeast) {
    return Limits::min();
  }
  if (value >= kTooLarge) {
    return Limits::max();
  }
  return static_cast<Integer>(value);
}
