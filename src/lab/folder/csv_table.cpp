#include "lab/folder/csv_table.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ctime>
#include <limits>
#include <optional>
#include <vector>

namespace lab {

namespace {

using Cells = std::vector<std::string_view>;

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlank = " \t\r";
  const std::size_t begin = text.find_first_not_of(kBlank);
  if (begin == std::string_view::npos) {
    return {};
  }
  text = text.substr(begin, text.find_last_not_of(kBlank) - begin + 1);
  const bool quoted = text.size() > 1 && text.front() == '"' && text.back() == '"';
  return quoted ? text.substr(1, text.size() - 2) : text;
}

/// The name of column `index` from 0, as its cell of the head has it, and no earlier column.
std::string column_name(std::string_view cell, std::size_t index, const Table& table) {
  std::string number = "column " + std::to_string(index + 1);
  if (cell.empty()) {
    return number;
  }
  std::string name(cell);
  for (std::size_t at = name.find("\"\""); at != std::string::npos;
       at = name.find("\"\"", at + 1)) {
    name.erase(at, 1);
  }
  return table.find(name) == nullptr ? name : name + " (" + number + ")";
}

/// What separates the columns of this line: the first of those that is in it.
char separator_of(std::string_view line) {
  for (const char separator : {'\t', ';', ','}) {
    if (line.find(separator) != std::string_view::npos) {
      return separator;
    }
  }
  return ' ';
}

Cells split(std::string_view line, char separator) {
  Cells cells;
  while (true) {
    if (separator == ' ') {
      line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    }
    bool quoted = false;
    std::size_t end = 0;
    while (end < line.size() && (quoted || line[end] != separator)) {
      quoted = quoted != (line[end] == '"');
      ++end;
    }
    cells.push_back(trimmed(line.substr(0, end)));
    if (end == line.size()) {
      return cells;
    }
    line.remove_prefix(end + 1);
  }
}

std::optional<double> number(std::string_view cell, char separator) {
  std::string text(cell);
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

/// Seconds of an instant such as "2026-11-21 15:00:00.5", on a scale without leap seconds. Offsets
/// from UTC are left out: differences alone count.
std::optional<double> instant(std::string_view cell) {
  const std::string text(cell);
  std::tm parts{};
  const char* rest = strptime(text.c_str(), "%Y-%m-%d", &parts);
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

[[noreturn]] void refuse(const std::string& name, std::size_t line, const std::string& why) {
  throw CsvError(name + ":" + std::to_string(line) + ": " + why);
}

}  // namespace

CsvTable parse_csv(std::string_view text, const std::string& name, const CsvLayout& layout) {
  CsvTable found;
  Table& table = found.table;
  char separator = 0;
  std::size_t time_column = 0;
  std::optional<double> zero;
  for (std::size_t count = 1; !text.empty(); ++count) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (trimmed(line).empty() || line.starts_with('#')) {
      continue;
    }
    const bool first = separator == 0;
    if (first) {
      separator = separator_of(line);
    }
    const Cells cells = split(line, separator);
    if (first) {
      const bool head = std::none_of(cells.begin(), cells.end(), [&](std::string_view cell) {
        return number(cell, separator) || instant(cell);
      });
      for (std::size_t index = 0; index < cells.size(); ++index) {
        table.columns.push_back({.name = column_name(head ? cells[index] : "", index, table),
                                 .unit = {},
                                 .source = name,
                                 .values = {}});
      }
      time_column = column_index(table, layout.time, name);
      if (head) {
        continue;
      }
    }
    if (cells.size() != table.columns.size()) {
      refuse(name, count,
             std::to_string(cells.size()) + " columns, and " +
                 std::to_string(table.columns.size()) + " before");
    }
    const std::optional<double> plain = number(cells[time_column], separator);
    const std::optional<double> time =
        plain ? *plain * layout.time_unit_s : instant(cells[time_column]);
    if (!time) {
      refuse(name, count,
             "\"" + std::string(cells[time_column]) +
                 "\" is no time: --time names the column that is");
    }
    zero = zero.value_or(*time);
    if (!table.time_s.empty() && *time - *zero <= table.time_s.back()) {
      ++found.left_out;
      continue;
    }
    table.time_s.push_back(*time - *zero);
    for (std::size_t index = 0; index < cells.size(); ++index) {
      table.columns[index].values.push_back(
          number(cells[index], separator).value_or(std::numeric_limits<double>::quiet_NaN()));
    }
  }
  if (table.time_s.size() < 2) {
    throw CsvError(name + ": fewer than two lines of numbers in it");
  }
  return found;
}

std::size_t column_index(const Table& table, const std::string& wanted, const std::string& name) {
  for (std::size_t index = 0; index < table.columns.size(); ++index) {
    if (table.columns[index].name == wanted) {
      return index;
    }
  }
  std::size_t number = 0;
  const auto result = std::from_chars(wanted.data(), wanted.data() + wanted.size(), number);
  if (result.ec == std::errc() && result.ptr == wanted.data() + wanted.size() && number >= 1 &&
      number <= table.columns.size()) {
    return number - 1;
  }
  std::string known;
  for (const Column& column : table.columns) {
    known += (known.empty() ? "" : ", ") + column.name;
  }
  throw CsvError(name + ": no column \"" + wanted + "\" in it: it has " + known);
}

}  // namespace lab
