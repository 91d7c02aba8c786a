#include "lab/report/text_lines.h"

#include <algorithm>
#include <iterator>
#include <sstream>

#include "lab/report/clean_text.h"

namespace lab {

namespace {

constexpr std::string_view kBetweenColumns = "   ";

enum class Side { left, right };

std::string padded(const std::string& text, std::size_t columns, Side side) {
  const std::string space(columns - std::min(columns, width(text)), ' ');
  return side == Side::left ? text + space : space + text;
}

/// The widths of the parts of numbers in a column.
std::vector<std::size_t> part_widths(const std::vector<TextCell>& cells) {
  std::vector<std::size_t> widths;
  for (const TextCell& cell : cells) {
    if (cell.number) {
      widths.resize(std::max(widths.size(), cell.parts.size()));
      for (std::size_t i = 0; i < cell.parts.size(); ++i) {
        widths[i] = std::max(widths[i], width(cell.parts[i]));
      }
    }
  }
  return widths;
}

/// The cells of one column; numbers stand below each other part by part.
std::vector<std::string> column_lines(const std::vector<TextCell>& cells) {
  const std::vector<std::size_t> widths = part_widths(cells);
  std::vector<std::string> lines;
  for (const TextCell& cell : cells) {
    std::string line;
    for (std::size_t i = 0; i < cell.parts.size(); ++i) {
      line += line.empty() ? "" : " ";
      line += cell.number ? padded(cell.parts[i], widths[i], i == 0 ? Side::right : Side::left)
                          : cell.parts[i];
    }
    lines.push_back(line);
  }
  return lines;
}

std::size_t widest(const std::vector<std::string>& lines) {
  std::size_t most = 0;
  for (const std::string& line : lines) {
    most = std::max(most, width(line));
  }
  return most;
}

}  // namespace

std::string wrapped(const std::string& text, std::size_t columns, const std::string& first) {
  std::string all;
  std::string line = first;
  bool empty = true;
  std::istringstream words(clean_text(text));
  for (std::string word; words >> word;) {
    if (!empty && width(line) + 1 + width(word) > columns) {
      all += line + '\n';
      line = std::string(width(first), ' ');
      empty = true;
    }
    line += (empty ? "" : " ") + word;
    empty = false;
  }
  return all + line + '\n';
}

std::string text_table(const std::vector<std::string>& head,
                       const std::vector<std::vector<TextCell>>& rows) {
  std::vector<std::string> lines(rows.size() + 1);
  for (std::size_t column = 0; column < head.size(); ++column) {
    std::vector<TextCell> cells;
    std::transform(rows.begin(), rows.end(), std::back_inserter(cells),
                   [&](const std::vector<TextCell>& row) {
                     return column < row.size() ? row[column] : TextCell{};
                   });
    std::vector<std::string> texts = column_lines(cells);
    texts.insert(texts.begin(), head[column]);
    const std::size_t columns = widest(texts);
    for (std::size_t i = 0; i < texts.size(); ++i) {
      lines[i] +=
          (column == 0 ? "" : std::string(kBetweenColumns)) + padded(texts[i], columns, Side::left);
    }
  }
  std::string all;
  for (std::string& line : lines) {
    line.erase(line.find_last_not_of(' ') + 1);
    all += line + '\n';
  }
  return all;
}

}  // namespace lab
