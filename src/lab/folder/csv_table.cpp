#include "lab/folder/csv_table.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include "lab/data/characters.h"
#include "lab/data/file_text.h"
#include "lab/data/units.h"
#include "lab/folder/csv_cells.h"
#include "lab/folder/csv_times.h"
#include "lab/folder/stated_unit.h"

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

/// A name in UTF-8. Bytes that are none are taken for Latin-1, in which older spreadsheets write.
std::string in_utf8(std::string_view text) {
  std::string found;
  while (!text.empty()) {
    const Character next = first_character(text);
    if (next.valid) {
      found += text.substr(0, next.bytes);
    } else {
      const auto byte = static_cast<unsigned char>(text.front());
      found += static_cast<char>(0xC0U | byte >> 6U);
      found += static_cast<char>(0x80U | (byte & 0x3FU));
    }
    text.remove_prefix(next.bytes);
  }
  return found;
}

/// The name of column `index` from 0, as its cell of the head has it, and no earlier column.
std::string column_name(std::string_view cell, std::size_t index, const Table& table) {
  std::string number = "column " + std::to_string(index + 1);
  if (cell.empty()) {
    return number;
  }
  std::string name = in_utf8(cell);
  for (std::size_t at = name.find("\"\""); at != std::string::npos;
       at = name.find("\"\"", at + 1)) {
    name.erase(at, 1);
  }
  return table.find(name) == nullptr ? name : name + " (" + number + ")";
}

/// What separates the columns of this line: the first of those that is in it, outside of quotes.
char separator_of(std::string_view line) {
  std::string bare;
  bool quoted = false;
  for (const char letter : line) {
    quoted = quoted != (letter == '"');
    if (!quoted) {
      bare += letter;
    }
  }
  for (const char separator : {'\t', ';', ','}) {
    if (bare.find(separator) != std::string::npos) {
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

std::string names_in(const Table& table) {
  std::string names;
  for (const Column& column : table.columns) {
    names += (names.empty() ? "" : ", ") + printable(column.name, true);
  }
  return names;
}

/// Which line was taken for the head, and what to do if it is another. 0: none was.
std::string head_told(std::size_t head, const Table& table) {
  return (head > 0 ? "Line " + std::to_string(head) + " was taken for the head: " + names_in(table)
                   : std::string("No line was taken for a head")) +
         ". What a logger writes before its head is to begin with #, or to be left out.";
}

[[noreturn]] void refuse(const std::string& name, std::size_t line, const std::string& why) {
  throw CsvError(name + ":" + std::to_string(line) + ": " + why);
}

/// Whether a line below the head has units in place of numbers.
bool has_units(const Cells& cells) {
  return std::all_of(cells.begin(), cells.end(),
                     [](std::string_view cell) { return cell.empty() || is_unit_cell(cell); });
}

void take_units(const Cells& cells, Table& table) {
  for (std::size_t index = 0; index < cells.size(); ++index) {
    const std::string inside = bracketed_unit(cells[index]);
    table.columns[index].unit = inside.empty() ? in_utf8(cells[index]) : inside;
  }
}

/// The text without the mark that some programs put before UTF-8. Throws CsvError if it is no text.
std::string_view text_in(std::string_view text, const std::string& name) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (text.find('\0') != std::string_view::npos) {
    throw CsvError(name + ": it is no text, or one in UTF-16: save it as CSV in UTF-8");
  }
  return text.starts_with(kMark) ? text.substr(kMark.size()) : text;
}

/// A cell as a message shows it.
std::string shown(std::string_view cell) {
  constexpr std::size_t kMost = 40;
  return printable(cell.substr(0, kMost), true) + (cell.size() > kMost ? "..." : "");
}

/// The one column whose name before its unit is `wanted`, or else the one whose name begins so.
std::optional<std::size_t> begun_by(const Table& table, const std::string& wanted) {
  for (const bool whole : {true, false}) {
    std::optional<std::size_t> found;
    std::size_t count = 0;
    for (std::size_t index = 0; index < table.columns.size(); ++index) {
      const std::string& name = table.columns[index].name;
      if (whole ? name_before_unit(name) == wanted : name.starts_with(wanted)) {
        found = index;
        ++count;
      }
    }
    if (count > 0 && !wanted.empty()) {
      return count == 1 ? found : std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace

std::string read_csv(const std::string& path) {
  std::optional<std::string> text = text_of_file(path);
  if (!text) {
    throw CsvError(path + ": " + std::strerror(errno));
  }
  return *std::move(text);
}

CsvTable parse_csv(std::string_view text, const std::string& name, const CsvLayout& layout) {
  CsvTable found;
  Table& table = found.table;
  char separator = 0;
  std::size_t time_column = 0;
  std::size_t head_line = 0;
  std::optional<double> unit_s = layout.time_unit_s;
  std::optional<double> zero;
  CsvTimes times;
  text = text_in(text, name);
  const char line_end = text.find('\n') == std::string_view::npos ? '\r' : '\n';
  for (std::size_t count = 1; !text.empty(); ++count) {
    const std::size_t end = std::min(text.find(line_end), text.size());
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
    if (std::all_of(cells.begin(), cells.end(),
                    [](std::string_view cell) { return cell.empty(); })) {
      continue;
    }
    if (first) {
      const bool head = std::none_of(cells.begin(), cells.end(), [&](std::string_view cell) {
        return CsvTimes::is_time(cell, separator);
      });
      for (std::size_t index = 0; index < cells.size(); ++index) {
        table.columns.push_back({.name = column_name(head ? cells[index] : "", index, table),
                                 .unit = head ? bracketed_unit(in_utf8(cells[index])) : "",
                                 .source = name,
                                 .values = {}});
      }
      time_column = column_index(table, layout.time, name);
      if (head) {
        head_line = count;
        continue;
      }
    }
    if (cells.size() != table.columns.size()) {
      refuse(name, count,
             std::to_string(cells.size()) + " columns, and " +
                 std::to_string(table.columns.size()) + " before. " + head_told(head_line, table));
    }
    if (table.time_s.empty() && head_line > 0 && has_units(cells)) {
      take_units(cells, table);
      continue;
    }
    if (!unit_s && number_in_cell(cells[time_column], separator)) {
      found.time_unit = stated_unit(table.columns[time_column], Measure::time, "--time-unit");
      unit_s = time_units().at(found.time_unit.value_or("s"));
    }
    const std::optional<double> time =
        times.next(cells[time_column], separator, unit_s.value_or(1));
    if (!time) {
      refuse(name, count,
             "\"" + shown(cells[time_column]) +
                 "\" is no time. One is a number such as 1000.5, 2026-11-21T15:00:00.5, "
                 "21.11.2026 15:00:00 or 15:00:00.5; --time names its column. " +
                 head_told(head_line, table));
    }
    zero = zero.value_or(*time);
    if (!table.time_s.empty() && *time - *zero <= table.time_s.back()) {
      ++found.left_out;
      continue;
    }
    table.time_s.push_back(*time - *zero);
    for (std::size_t index = 0; index < cells.size(); ++index) {
      table.columns[index].values.push_back(
          number_in_cell(cells[index], separator)
              .value_or(std::numeric_limits<double>::quiet_NaN()));
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
  const std::optional<std::size_t> meant = begun_by(table, wanted);
  if (!meant) {
    throw CsvError(name + ": no column \"" + wanted + "\" in it: it has " + names_in(table));
  }
  return *meant;
}

}  // namespace lab
