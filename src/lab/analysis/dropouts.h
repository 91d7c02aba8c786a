#pragma once

#include <cstddef>
#include <vector>

namespace lab {

/// What a sensor that could not be read shows instead of a number: 0, or a value far beyond any
/// temperature, such as -127 or 65535, between others that are nowhere near it. Makes such values
/// of a temperature (degC) NaN, and returns how many there were. A temperature that really passes
/// through 0, or rests there at an end of the record, keeps its values.
std::size_t take_out_temperature_dropouts(std::vector<double>& values);

/// The same of a power: 0 for three samples at most, between two values that are nearly the same.
/// Where that happens in more than one sample of fifty it is how the load goes, and stays.
std::size_t take_out_power_dropouts(std::vector<double>& values);

}  // namespace lab
