#include "vorn/numbers.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {

using Signed = std::numeric_limits<std::int32_t>;
using Unsigned = std::numeric_limits<std::uint32_t>;

}  // namespace

std::uint32_t to_uint32(double value) {
  constexpr double kTooLarge = 4294967296.0;
  if (!(value > 0.0)) {  // NaN too
    return 0;
  }
  return value < kTooLarge ? static_cast<std::uint32_t>(value) : Unsigned::max();
}

std::int32_t to_int32(std::int64_t value) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Signed::min(), Signed::max()));
}

std::uint32_t to_bits32(std::int64_t value) {
  return static_cast<std::uint32_t>(
      std::clamp<std::int64_t>(value, Signed::min(), Unsigned::max()));
}

std::optional<std::int64_t> parse_whole(const char* text) {
  char* end = nullptr;
  const long long value = std::strtoll(text, &end, 0);
  if (*text == '\0' || *end != '\0') {
    return std::nullopt;
  }
  return value;
}

std::optional<double> parse_double(const char* text) {
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  if (*text == '\0' || *end != '\0') {
    return std::nullopt;
  }
  return value;
}

void append_number(std::string& text, double value) {
  constexpr std::size_t kLongest = 32;
  std::array<char, kLongest> digits{};
  const int length = std::snprintf(digits.data(), digits.size(), "%g", value);
  text.append(digits.data(), static_cast<std::size_t>(length));
}
