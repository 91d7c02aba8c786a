#pragma once

#include <vector>

namespace lab {

/// What the values that are there range over; NaN if there are none.
struct Range {
  double least;
  double mean;
  double largest;
};
Range range_of(const std::vector<double>& values);

}  // namespace lab
