#include "lab/data/characters.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace lab {

namespace {

struct Span {
  char32_t first;
  char32_t last;
};

// Source: East Asian Width W and F of Unicode 15, in whole blocks.
constexpr Span kWide[] = {
    {0x1100, 0x115f},   {0x231a, 0x231b},   {0x2329, 0x232a},   {0x23e9, 0x23ec},
    {0x2e80, 0x303e},   {0x3041, 0x33ff},   {0x3400, 0x4dbf},   {0x4e00, 0x9fff},
    {0xa000, 0xa4cf},   {0xa960, 0xa97f},   {0xac00, 0xd7a3},   {0xf900, 0xfaff},
    {0xfe10, 0xfe19},   {0xfe30, 0xfe6f},   {0xff00, 0xff60},   {0xffe0, 0xffe6},
    {0x16fe0, 0x18aff}, {0x1b000, 0x1b2ff}, {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff},
    {0x1f900, 0x1faff}, {0x20000, 0x3fffd},
};

// Source: the combining marks and joiners that texts of sensors and machines may hold; Unicode 15.
constexpr Span kCombining[] = {
    {0x0300, 0x036f}, {0x0483, 0x0489}, {0x0591, 0x05bd}, {0x064b, 0x065f}, {0x1ab0, 0x1aff},
    {0x1dc0, 0x1dff}, {0x200b, 0x200d}, {0x20d0, 0x20ff}, {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f},
};

// Control characters, and those that turn the direction of writing or end a line.
constexpr Span kObeyed[] = {
    {0x0000, 0x001f}, {0x007f, 0x009f}, {0x061c, 0x061c}, {0x200e, 0x200f},
    {0x2028, 0x202e}, {0x2066, 0x2069}, {0xfeff, 0xfeff},
};

template <std::size_t kSize>
bool within(const Span (&spans)[kSize], char32_t code) {
  return std::any_of(std::begin(spans), std::end(spans),
                     [code](const Span& span) { return span.first <= code && code <= span.last; });
}

std::string escaped(char32_t code, bool is_byte) {
  if (code == U'\n') {
    return "\\n";
  }
  if (code == U'\t') {
    return "\\t";
  }
  char text[16];
  (void)std::snprintf(text, sizeof text, is_byte || code < 0x80 ? "\\x%02x" : "\\u%04x",
                      static_cast<unsigned>(code));
  return text;
}

}  // namespace

Character first_character(std::string_view text) {
  const auto byte = [text](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
  const std::uint8_t lead = byte(0);
  const Character invalid{.code = lead, .bytes = 1, .valid = false};
  if (lead < 0x80) {
    return {.code = lead, .bytes = 1, .valid = true};
  }
  const std::size_t bytes = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc0 || lead > 0xf7 || text.size() < bytes) {
    return invalid;
  }
  char32_t code = lead & (0x7fU >> bytes);
  for (std::size_t at = 1; at < bytes; ++at) {
    if ((byte(at) & 0xc0U) != 0x80) {
      return invalid;
    }
    code = (code << 6U) | (byte(at) & 0x3fU);
  }
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xd800 && code <= 0xdfff;
  if (code < kLeast[bytes] || code > 0x10ffff || surrogate) {
    return invalid;
  }
  return {.code = code, .bytes = bytes, .valid = true};
}

int columns_of(char32_t code) {
  if (code < 0x300) {
    return 1;
  }
  if (within(kCombining, code)) {
    return 0;
  }
  return within(kWide, code) ? 2 : 1;
}

int display_width(std::string_view text) {
  int columns = 0;
  while (!text.empty()) {
    const Character next = first_character(text);
    columns += columns_of(next.code);
    text.remove_prefix(next.bytes);
  }
  return columns;
}

std::string printable(std::string_view text, bool utf8) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const Character character = first_character(text);
    if (!character.valid || within(kObeyed, character.code)) {
      shown += escaped(character.code, !character.valid);
    } else if (utf8 || character.code < 0x80) {
      shown += text.substr(0, character.bytes);
    } else {
      shown += '?';
    }
    text.remove_prefix(character.bytes);
  }
  return shown;
}

}  // namespace lab
