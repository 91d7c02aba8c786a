#pragma once

#include <cstdint>
#include <optional>

/// Conversions between the numbers that people and clocks give and those that the settings and
/// sleeps take. Pure. Thread: any.

/// `value` as an unsigned 32-bit integer: truncated towards zero; below 0 and NaN give 0, too
/// large gives 4294967295.
std::uint32_t to_uint32(double value);

/// A whole number from the command line, 32 bits wide: what does not fit saturates.
struct Int32Argument {
  std::int32_t value;
  bool saturated;  ///< the text named a number that 32 bits do not hold
};

/// Reads all of `text` as strtol() with base 0 does ("0x10" and "010" too). Nothing if `text` is
/// empty or has anything behind the number.
std::optional<Int32Argument> parse_int32(const char* text);

/// Reads all of `text` as strtod() does. Nothing if `text` is empty or has anything behind.
std::optional<double> parse_double(const char* text);
