#include "vorn/numbers.h"

#include <cstdlib>
#include <limits>

std::uint32_t to_uint32(double value) {
  constexpr double kTooLarge = 4294967296.0;
  if (!(value > 0.0)) {  // NaN too
    return 0;
  }
  return value < kTooLarge ? static_cast<std::uint32_t>(value)
                           : std::numeric_limits<std::uint32_t>::max();
}

std::optional<Int32Argument> parse_int32(const char* text) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 0);
  if (*text == '\0' || *end != '\0') {
    return std::nullopt;
  }
  using Limits = std::numeric_limits<std::int32_t>;
  if (value > Limits::max()) {
    return Int32Argument{Limits::max(), true};
  }
  if (value < Limits::min()) {
    return Int32Argument{Limits::min(), true};
  }
  return Int32Argument{static_cast<std::int32_t>(value), false};
}

std::optional<double> parse_double(const char* text) {
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  if (*text == '\0' || *end != '\0') {
    return std::nullopt;
  }
  return value;
}
