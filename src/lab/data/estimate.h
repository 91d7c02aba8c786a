#pragma once

#include <limits>
#include <string>

namespace lab {

/// The bound of an estimate that the data do not limit.
inline constexpr double kInfinite = std::numeric_limits<double>::infinity();

/// A number and the interval that holds the truth with a probability of 95 %. A bound that the data
/// do not give is infinite. Units are those of the SI; temperatures are in degrees Celsius.
struct Estimate {
  double value = 0;
  double low = 0;
  double high = 0;
  std::string unit;
};

}  // namespace lab
