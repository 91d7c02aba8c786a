#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lab {

/// The first character of a text in UTF-8.
struct Character {
  char32_t code = 0;
  std::size_t bytes = 0;
  bool valid = false;  ///< no: one byte that is not part of any character
};

/// Requires: the text is not empty.
Character first_character(std::string_view text);

/// The columns that a terminal gives to a character: 0 (combines with the one before), 1, or 2.
int columns_of(char32_t code);

/// The columns that a text takes.
int display_width(std::string_view text);

/// The text without anything that a terminal would obey: control characters, those that turn the
/// direction of writing, and bytes that are no UTF-8 become "\n", "\x1b", "\u202e". Without `utf8`,
/// every character beyond ASCII becomes "?".
std::string printable(std::string_view text, bool utf8);

}  // namespace lab
