#include "lab/folder/csv_cells.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ctime>
#include <string>

namespace lab {

namespace {

/// The fraction of a second at `begin`, with a point or a comma; nothing if something else is
/// there.
std::optional<double> fraction_of(const char* begin, const char* end) {
  if (begin == end) {
    return 0;
  }
  if (*begin != '.' && *begin != ',') {
    return std::nullopt;
  }
  std::string text(begin, end);
  text.front() = '.';
  double fraction = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), fraction);
  return result.ec == std::errc() && result.ptr == text.data() + text.size()
             ? std::optional(fraction)
             : std::nullopt;
}

/// "1,000.5" and "1.000,5" without what groups their thousands; any other text as it is.
std::string ungrouped(std::string_view cell) {
  constexpr std::size_t kGroup = 3;
  std::string text(cell);
  const std::size_t mark = text.find_last_of(".,");
  const std::size_t first = text.find_first_of(".,");
  if (mark == std::string::npos || text[first] == text[mark]) {
    return text;
  }
  const char grouping = text[first];
  for (std::size_t at = first; at < mark; at += kGroup + 1) {
    const std::size_t next = text.find_first_of(".,", at + 1);
    if (text[at] != grouping || next != at + kGroup + 1) {
      return text;
    }
  }
  text.erase(std::remove(text.begin(), text.end(), grouping), text.end());
  std::replace(text.begin(), text.end(), ',', '.');
  return text;
}

/// The text behind the day that `text` begins with; null: it begins with none.
const char* behind_day(const char* text, std::tm& parts) {
  for (const char* form : {"%Y-%m-%d", "%Y/%m/%d", "%d.%m.%Y"}) {
    if (const char* rest = strptime(text, form, &parts)) {
      return rest;
    }
  }
  return nullptr;
}

}  // namespace

std::optional<double> number_in_cell(std::string_view cell, char separator) {
  std::string text = ungrouped(cell);
  if (separator != ',') {
    std::replace(text.begin(), text.end(), ',', '.');
  }
  double value = 0;
  const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(begin, end, value);
  return result.ec == std::errc() && result.ptr == end && std::isfinite(value)
             ? std::optional(value)
             : std::nullopt;
}

std::optional<double> instant_in_cell(std::string_view cell) {
  const std::string text(cell);
  std::tm parts{};
  const char* rest = behind_day(text.c_str(), parts);
  if (rest == nullptr || (*rest != 'T' && *rest != ' ')) {
    return std::nullopt;
  }
  rest = strptime(rest + 1, "%H:%M:%S", &parts);
  if (rest == nullptr) {
    return std::nullopt;
  }
  double fraction = 0;
  if (*rest == '.') {
    std::from_chars(rest, text.c_str() + text.size(), fraction);
  }
  return static_cast<double>(timegm(&parts)) + fraction;
}

std::optional<double> clock_in_cell(std::string_view cell) {
  constexpr std::size_t kTail = 6;  // ":MM:SS"
  const std::size_t hours_end = cell.find(':');
  if (hours_end == std::string_view::npos || hours_end == 0 || cell.size() < hours_end + kTail) {
    return std::nullopt;
  }
  const auto whole = [](std::string_view text) -> std::optional<int> {
    int value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && value >= 0
               ? std::optional(value)
               : std::nullopt;
  };
  constexpr int kSixty = 60;
  const std::optional<int> hours = whole(cell.substr(0, hours_end));
  const std::optional<int> minutes = whole(cell.substr(hours_end + 1, 2));
  const std::optional<int> seconds = whole(cell.substr(hours_end + 4, 2));
  const std::optional<double> fraction =
      fraction_of(cell.data() + hours_end + kTail, cell.data() + cell.size());
  if (!hours || !minutes || !seconds || !fraction || cell[hours_end + 3] != ':' ||
      *minutes >= kSixty || *seconds >= kSixty) {
    return std::nullopt;
  }
  return (static_cast<double>(*hours) * kSixty + *minutes) * kSixty + *seconds + *fraction;
}

}  // namespace lab
