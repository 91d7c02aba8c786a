#include "lab/folder/csv_table.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>
#include <optional>
#include <vector>

#include "lab/data/characters.h"
#include "lab/data/file_text.h"

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
  std::optional<double> zero;
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
             "\"" + shown(cells[time_column]) + "\" is no time: --time names the column that is");
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
