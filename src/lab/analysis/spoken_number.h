#pragma once

#include <string>

#include "lab/data/estimate.h"

namespace lab {

/// A number with that many significant digits, without an exponent where people write none.
std::string spoken_number(double value, int digits = 3);

/// A frequency with three digits at most, and its unit: "0.05 Hz".
std::string spoken_hertz(double frequency_hz);

/// The value of an estimate with as many digits as its interval lets mean something: "0.432".
std::string spoken_value(const Estimate& estimate);

/// "95 %: 0.430 to 0.434"; of an interval that is open: "95 %: above 0.430".
std::string spoken_interval(const Estimate& estimate);

/// A unit as people write it: "degC" is "°C".
std::string spoken_unit(const std::string& unit);

}  // namespace lab
