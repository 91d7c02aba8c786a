#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace sysfs {

/// How many bytes in front of `text` are one character that can be shown as it is: none of a
/// control character, of what changes the direction of writing, or of bytes that are no UTF-8.
/// Requires: not empty.
std::size_t leading_printable(std::string_view text);

/// Calls add(std::string_view) with parts that make up `text`, in which each byte that would act on
/// a terminal is "\xNN". Allocates nothing.
template <class Add>
void add_printable(std::string_view text, Add add) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  while (!text.empty()) {
    std::size_t length = 0;
    while (length < text.size()) {
      const std::size_t character = leading_printable(text.substr(length));
      if (character == 0) {
        break;
      }
      length += character;
    }
    add(text.substr(0, length));
    text.remove_prefix(length);
    if (!text.empty()) {
      const auto byte = static_cast<unsigned char>(text.front());
      const std::array<char, 4> escaped = {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
      add(std::string_view(escaped.data(), escaped.size()));
      text.remove_prefix(1);
    }
  }
}

/// The same as a text: names and labels are the firmware's, and may hold anything.
std::string printable(std::string_view text);

}  // namespace sysfs
