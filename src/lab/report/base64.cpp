#include "lab/report/base64.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>

namespace lab {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

template <typename Word>
void append(std::vector<std::uint8_t>& bytes, Word word) {
  for (std::size_t i = 0; i < sizeof word; ++i) {
    bytes.push_back(static_cast<std::uint8_t>(word >> (8 * i)));
  }
}

std::string base64(const std::vector<std::uint8_t>& bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = group << 8U | (i < count ? bytes[at + i] : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= count ? kAlphabet[group >> (18 - 6 * i) & 63U] : '=';
    }
  }
  return text;
}

/// What a float cannot hold becomes infinite, as it does in IEEE 754; in C++ that is undefined.
float to_float(double value) {
  if (std::abs(value) > static_cast<double>(std::numeric_limits<float>::max())) {
    return static_cast<float>(std::copysign(std::numeric_limits<double>::infinity(), value));
  }
  return static_cast<float>(value);
}

}  // namespace

std::string base64_floats(const std::vector<double>& values) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(values.size() * sizeof(float));
  for (const double value : values) {
    append(bytes, std::bit_cast<std::uint32_t>(to_float(value)));
  }
  return base64(bytes);
}

std::string base64_doubles(const std::vector<double>& values) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(values.size() * sizeof(double));
  for (const double value : values) {
    append(bytes, std::bit_cast<std::uint64_t>(value));
  }
  return base64(bytes);
}

}  // namespace lab
