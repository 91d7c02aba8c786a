#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// Conversions between the numbers that people and clocks give and those that the settings and
/// sleeps take. Pure. Thread: any.

/// `value` as an unsigned 32-bit integer: truncated towards zero; below 0 and NaN give 0, too
/// large gives 4294967295.
std::uint32_t to_uint32(double value);

/// `value` as a signed 32-bit integer: what does not fit saturates.
std::int32_t to_int32(std::int64_t value);

/// The 32 bits of `value`, which may have been written with or without a sign: -1 and 4294967295
/// are the same. What neither form holds saturates at its own end.
std::uint32_t to_bits32(std::int64_t value);

/// Reads all of `text` as strtoll() with base 0 does ("0x10" and "010" too), saturating as it does.
/// Nothing if `text` is empty or has anything behind the number.
std::optional<std::int64_t> parse_whole(const char* text);

/// Reads all of `text` as strtod() does. Nothing if `text` is empty or has anything behind.
std::optional<double> parse_double(const char* text);

/// Appends `value` as printf()'s %g writes it: six significant digits at most. Allocates nothing
/// but what `text` needs to grow.
void append_number(std::string& text, double value);
