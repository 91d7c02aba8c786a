#include "lab/live/fitting.h"

#include <algorithm>

#include "lab/data/characters.h"

namespace lab {

namespace {

/// The bytes of the longest beginning of the text that takes at most so many columns.
std::size_t bytes_within(std::string_view text, int columns) {
  std::size_t bytes = 0;
  while (bytes < text.size()) {
    const Character next = first_character(text.substr(bytes));
    columns -= columns_of(next.code);
    if (columns < 0) {
      break;
    }
    bytes += next.bytes;
  }
  return bytes;
}

std::string spaces(int count) {
  return std::string(static_cast<std::size_t>(std::max(0, count)), ' ');
}

}  // namespace

std::string clipped(std::string_view text, int columns, Look look) {
  if (columns <= 0) {
    return "";
  }
  if (display_width(text) <= columns) {
    return std::string(text);
  }
  return std::string(text.substr(0, bytes_within(text, columns - 1))).append(look.utf8 ? "…" : "~");
}

std::string left_aligned(std::string_view text, int columns, Look look) {
  const std::string shown = clipped(text, columns, look);
  return shown + spaces(columns - display_width(shown));
}

std::string right_aligned(std::string_view text, int columns, Look look) {
  const std::string shown = clipped(text, columns, look);
  return spaces(columns - display_width(shown)) + shown;
}

std::string at_both_ends(std::string_view left, std::string_view right, int columns, Look look) {
  constexpr int kLeastOfLeft = 8;
  const int for_left = columns - display_width(right) - 1;
  if (right.empty() || for_left < std::min(kLeastOfLeft, display_width(left))) {
    return clipped(left, columns, look);
  }
  return left_aligned(left, for_left, look) + ' ' + std::string(right);
}

std::vector<std::string> broken_into_lines(std::string_view text, int columns) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    std::size_t end = bytes_within(text, columns);
    std::size_t next = end;
    if (end < text.size()) {
      // A space right behind the line is a good place too.
      if (const std::size_t space = text.rfind(' ', end);
          space != std::string_view::npos && space > 0) {
        end = space;
        next = space + 1;
      } else if (end == 0) {
        end = next = first_character(text).bytes;
      }
    }
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(next);
  }
  return lines;
}

}  // namespace lab
