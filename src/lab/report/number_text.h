#pragma once

#include <cstdint>
#include <string>

#include "lab/data/estimate.h"

namespace lab {

/// Numbers as people read them, the same in a terminal and in the report. The locale plays no part.

/// `value` with so many significant digits, without trailing zeros: "21.5", "0.0032", "1.2e+9".
/// "not known" if it is not a number.
std::string number_text(double value, int digits = 4);

/// A count with its thousands apart: "864,000".
std::string count_text(std::int64_t count);

/// `share` in percent, with a unit: 0.5 is "50 %".
std::string percent_text(double share);

/// A unit as people write it: "degC" is "°C".
std::string unit_text(const std::string& unit);

/// A number with its unit, if it has one: "12 W".
std::string with_unit(const std::string& number, const std::string& unit);

/// An estimate in its parts.
struct EstimateText {
  std::string value;     ///< with as many digits as the interval allows
  std::string interval;  ///< "0.405 to 0.419", "at least 0.4", "no bounds"; empty: exact
  std::string unit;
};

/// The value is rounded to the second significant digit of the wider half of its interval.
EstimateText estimate_text(const Estimate& estimate);

/// "0.412 K/W (0.405 to 0.419)".
std::string in_one_line(const EstimateText& estimate);

}  // namespace lab
