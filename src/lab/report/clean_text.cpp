#include "lab/report/clean_text.h"

#include "lab/data/characters.h"

namespace lab {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool is_control(char32_t code) {
  return (code < 0x20 && code != U'\n' && code != U'\t') || (code >= 0x7F && code < 0xA0);
}

}  // namespace

std::string clean_text(std::string_view text) {
  std::string clean;
  clean.reserve(text.size());
  while (!text.empty()) {
    const Character next = first_character(text);
    clean += next.valid && !is_control(next.code) ? text.substr(0, next.bytes) : kReplacement;
    text.remove_prefix(next.bytes);
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
  return static_cast<std::size_t>(display_width(text));
}

}  // namespace lab
