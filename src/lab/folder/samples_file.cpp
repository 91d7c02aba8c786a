#include "lab/folder/samples_file.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

#include "lab/folder/folder_error.h"

namespace lab {

namespace {

constexpr std::string_view kTime = "time_s";

/// The shortest text of a value that reads as the same value.
void append(std::string& line, double value) {
  if (!std::isfinite(value)) {
    return;
  }
  std::array<char, 32> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
  line.append(text.data(), result.ptr);
}

/// A name as a cell of the head.
std::string cell(const std::string& name) {
  if (name.find_first_of(",\"\r\n") == std::string::npos) {
    return name;
  }
  std::string quoted = "\"";
  for (const char letter : name) {
    quoted += letter == '"' ? "\"\"" : std::string(1, letter);
  }
  return quoted + "\"";
}

/// Takes the names of the head, and its end of line, from the beginning of a text. Nothing if the
/// head is not whole.
std::optional<std::vector<std::string>> take_head(std::string_view& text) {
  std::vector<std::string> names(1);
  bool quoted = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char letter = text[at];
    if (letter == '"') {
      if (!quoted && at > 0 && text[at - 1] == '"') {
        names.back() += '"';  // the second of two
      }
      quoted = !quoted;
    } else if (letter == ',' && !quoted) {
      names.emplace_back();
    } else if (letter == '\n' && !quoted) {
      text.remove_prefix(at + 1);
      return names;
    } else {
      names.back() += letter;
    }
  }
  return std::nullopt;
}

std::vector<std::string_view> cells(std::string_view line) {
  std::vector<std::string_view> found;
  for (;;) {
    const std::size_t comma = line.find(',');
    found.push_back(line.substr(0, comma));
    if (comma == std::string_view::npos) {
      return found;
    }
    line.remove_prefix(comma + 1);
  }
}

double number(std::string_view cell, const std::string& name, std::size_t line) {
  double value = std::numeric_limits<double>::quiet_NaN();
  if (!cell.empty()) {
    const auto [end, error] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
    if (error != std::errc() || end != cell.data() + cell.size()) {
      throw FolderError(name + ":" + std::to_string(line) + ": \"" + std::string(cell) +
                        "\" is not a number");
    }
  }
  return value;
}

}  // namespace

SamplesWriter::SamplesWriter(std::filesystem::path path, const std::vector<std::string>& columns)
    : path_(std::move(path)), file_(std::fopen(path_.c_str(), "we")) {
  if (file_ == nullptr) {
    throw FolderError(path_.string() + ": " + std::strerror(errno));
  }
  std::string head(kTime);
  for (const std::string& column : columns) {
    head += "," + cell(column);
  }
  head += '\n';
  if (std::fwrite(head.data(), 1, head.size(), file_.get()) != head.size() ||
      std::fflush(file_.get()) != 0) {
    throw FolderError(path_.string() + ": " + std::strerror(errno) + ": make room on that disk");
  }
}

void SamplesWriter::add(double time_s, const std::vector<double>& values) {
  if (lost_ > 0) {
    ++lost_;
    return;
  }
  std::string line;
  append(line, time_s);
  for (const double value : values) {
    line += ',';
    append(line, value);
  }
  line += '\n';
  const std::size_t written = std::fwrite(line.data(), 1, line.size(), file_.get());
  if (written != line.size() || std::fflush(file_.get()) != 0) {
    refusal_ = std::strerror(errno);
    ++lost_;
  }
}

Table parse_samples(std::string_view text, const std::string& name) {
  Table table;
  const std::optional<std::vector<std::string>> head = take_head(text);
  if (!head) {
    return table;
  }
  if (head->front() != kTime) {
    throw FolderError(name + ":1: its first column is not " + std::string(kTime));
  }
  for (std::size_t index = 1; index < head->size(); ++index) {
    table.columns.push_back({.name = (*head)[index], .unit = {}, .source = {}, .values = {}});
  }
  std::size_t count = 1;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
      break;
    }
    const std::vector<std::string_view> line = cells(text.substr(0, end));
    text.remove_prefix(end + 1);
    ++count;
    if (line.size() != table.columns.size() + 1) {
      throw FolderError(name + ":" + std::to_string(count) + ": " + std::to_string(line.size()) +
                        " columns, not " + std::to_string(table.columns.size() + 1));
    }
    table.time_s.push_back(number(line[0], name, count));
    for (std::size_t index = 0; index < table.columns.size(); ++index) {
      table.columns[index].values.push_back(number(line[index + 1], name, count));
    }
  }
  return table;
}

}  // namespace lab
