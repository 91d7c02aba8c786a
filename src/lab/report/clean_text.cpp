#include "lab/report/clean_text.h"

#include <algorithm>

namespace lab {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

unsigned char byte_at(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

bool continues(unsigned char byte) {
  return (byte & 0xC0U) == 0x80U;
}

/// The bytes of the well-formed character that begins at `at`; 0 if none does (Unicode 15, table
/// 3-7).
std::size_t character_length(std::string_view text, std::size_t at) {
  const unsigned char first = byte_at(text, at);
  if (first < 0x80) {
    return 1;
  }
  const std::size_t length = first >= 0xC2 && first <= 0xDF   ? 2
                             : first >= 0xE0 && first <= 0xEF ? 3
                             : first >= 0xF0 && first <= 0xF4 ? 4
                                                              : 0;
  if (length == 0 || at + length > text.size()) {
    return 0;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if (!continues(byte_at(text, at + i))) {
      return 0;
    }
  }
  const unsigned char second = byte_at(text, at + 1);
  const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool surrogate = first == 0xED && second > 0x9F;
  const bool beyond = first == 0xF4 && second > 0x8F;
  return overlong || surrogate || beyond ? 0 : length;
}

/// U+0000 to U+001F without line feed and tab, U+007F, and U+0080 to U+009F.
bool is_control(std::string_view character) {
  const unsigned char first = byte_at(character, 0);
  if (character.size() == 2) {
    return first == 0xC2 && byte_at(character, 1) < 0xA0;
  }
  return (first < 0x20 && first != '\n' && first != '\t') || first == 0x7F;
}

}  // namespace

std::string clean_text(std::string_view text) {
  std::string clean;
  clean.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = character_length(text, at);
    const std::string_view character = text.substr(at, std::max<std::size_t>(length, 1));
    clean += length == 0 || is_control(character) ? kReplacement : character;
    at += character.size();
  }
  return clean;
}

std::string html_text(std::string_view text) {
  std::string escaped;
  for (const char c : clean_text(text)) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&#39;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::size_t width(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](char c) { return !continues(static_cast<unsigned char>(c)); }));
}

}  // namespace lab
