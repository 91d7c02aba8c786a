#include "machines/linux/sysfs/printable.h"

#include <cstdint>

namespace sysfs {
namespace {

/// The length of a character by its first byte, 0 for a byte that begins none.
std::size_t length_by(unsigned char first) {
  if (first < 0x80) {
    return 1;
  }
  if (first >= 0xC2 && first < 0xE0) {
    return 2;
  }
  if (first >= 0xE0 && first < 0xF0) {
    return 3;
  }
  return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

/// Whether a code point may stand in that many bytes, and only in as many.
bool is_encoded_well(std::uint32_t point, std::size_t length) {
  constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = point >= 0xD800 && point <= 0xDFFF;
  return point >= kLeast[length] && point <= 0x10FFFF && !surrogate;
}

bool acts_on_a_terminal(std::uint32_t point) {
  return point < 0x20 || (point >= 0x7F && point < 0xA0) ||  // control characters
         (point >= 0x2028 && point <= 0x202E) ||  // separators, and directions of writing
         (point >= 0x2066 && point <= 0x2069);
}

}  // namespace

std::size_t leading_printable(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t length = length_by(first);
  if (length == 0 || length > text.size()) {
    return 0;
  }
  std::uint32_t point = length == 1 ? first : first & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) != 0x80) {
      return 0;
    }
    point = (point << 6U) | (byte & 0x3FU);
  }
  return is_encoded_well(point, length) && !acts_on_a_terminal(point) ? length : 0;
}

std::string printable(std::string_view text) {
  std::string shown;
  add_printable(text, [&](std::string_view part) { shown += part; });
  return shown;
}

}  // namespace sysfs
