#include "lab/live/key_rows.h"

#include <algorithm>
#include <cmath>

#include "lab/data/characters.h"
#include "lab/live/fitting.h"
#include "lab/live/quantity.h"
#include "lab/live/sparkline.h"

namespace lab {

namespace {

/// A key as text.
struct KeyText {
  std::size_t column = 0;
  std::string name;
  std::string source;
  std::string now;
  std::string unit;
  std::string least;
  std::string most;
};

/// Columns of the terminal that each part of a row takes; 0: the part is left out.
struct Widths {
  int name = 3;
  int source = 0;
  int number = 4;
  int unit = 0;
  bool extremes = true;
  int line = 0;
};

KeyText key_text(const Table& samples, const Extremes& extremes, std::size_t index, Look look) {
  const Column& column = samples.columns[index];
  return {.column = index,
          .name = printable(column.name, look.utf8),
          .source = printable(column.source, look.utf8),
          .now = number(column.values.back(), column.unit),
          .unit = written_unit(column.unit, look),
          .least = number(extremes.of(index).least, column.unit),
          .most = number(extremes.of(index).most, column.unit)};
}

Widths widths_of(const std::vector<KeyText>& keys, int columns) {
  constexpr int kMostOfName = 16;
  constexpr int kMostOfLine = 120;
  constexpr int kLineWorthIt = 5;
  constexpr int kLineBesideSource = 40;
  constexpr int kLeastOfSource = 12;
  Widths widths;
  int longest_source = 0;
  for (const KeyText& key : keys) {
    widths.name = std::max(widths.name, std::min(display_width(key.name), kMostOfName));
    longest_source = std::max(longest_source, display_width(key.source));
    widths.unit = std::max(widths.unit, display_width(key.unit));
    for (const std::string* text : {&key.now, &key.least, &key.most}) {
      widths.number = std::max(widths.number, display_width(*text));
    }
  }
  const int value = widths.name + 1 + widths.number + 1 + widths.unit;
  const int both_extremes = 2 * (1 + widths.number);
  widths.extremes = columns >= value + both_extremes;
  int rest = columns - value - (widths.extremes ? both_extremes : 0) - 1;
  if (longest_source > 0 && rest - kLineBesideSource - 1 >= kLeastOfSource) {
    widths.source = std::min(longest_source, rest - kLineBesideSource - 1);
    rest -= widths.source + 1;
  }
  widths.line = rest >= kLineWorthIt ? std::min(rest, kMostOfLine) : 0;
  return widths;
}

/// The parts of a row up to the sparkline; the head has the same.
std::string start_of_row(const KeyText& key, const Widths& widths, Look look) {
  std::string row = left_aligned(key.name, widths.name, look) + ' ';
  if (widths.source > 0) {
    row += left_aligned(key.source, widths.source, look) + ' ';
  }
  row += right_aligned(key.now, widths.number, look) + ' ';
  row += left_aligned(key.unit, widths.unit, look);
  if (widths.extremes) {
    row += ' ' + right_aligned(key.least, widths.number, look);
    row += ' ' + right_aligned(key.most, widths.number, look);
  }
  return row;
}

std::string head(const Widths& widths, double span_s, Look look) {
  const KeyText titles{
      .name = "key", .source = "source", .now = "now", .unit = "", .least = "min", .most = "max"};
  std::string row = start_of_row(titles, widths, look);
  if (widths.line > 0) {
    // Above the right end, which is now.
    const std::string window = "last " + minutes_and_seconds(span_s * widths.line);
    row += ' ' + right_aligned(window, widths.line, look);
  }
  return row;
}

/// What a steady sensor may waver by without showing a change.
double least_height(const Column& column, const Extent& extent) {
  constexpr double kDegrees = 4;
  constexpr double kPart = 0.05;
  return column.unit == "degC" ? kDegrees
                               : kPart * std::max(std::abs(extent.least), std::abs(extent.most));
}

}  // namespace

std::vector<std::size_t> key_columns(const Table& samples) {
  std::vector<std::size_t> keys;
  for (std::size_t index = 0; index < samples.columns.size(); ++index) {
    const std::string& name = samples.columns[index].name;
    if (name != kPhaseColumn && name != kAskedColumn && name != kDeliveredColumn &&
        name != kOthersColumn) {
      keys.push_back(index);
    }
  }
  return keys;
}

std::vector<std::string> key_rows(const Table& samples, const Extremes& extremes, int rows,
                                  int columns, Look look) {
  std::vector<std::string> lines;
  const std::vector<std::size_t> indices = key_columns(samples);
  if (rows <= 0 || indices.empty()) {
    return lines;
  }
  const int keys = static_cast<int>(indices.size());
  // Where keys must be left out, a head takes more room than it explains.
  constexpr int kRowsBelowHead = 6;
  const bool with_head = rows > std::min(keys, kRowsBelowHead);
  const int room = rows - (with_head ? 1 : 0);
  const int shown = keys <= room ? keys : room - 1;
  std::vector<KeyText> texts;
  texts.reserve(static_cast<std::size_t>(std::max(0, shown)));
  for (int key = 0; key < shown; ++key) {
    texts.push_back(key_text(samples, extremes, indices[static_cast<std::size_t>(key)], look));
  }

  const Widths widths = widths_of(texts, columns);
  const std::vector<double>& time_s = samples.time_s;
  const double elapsed_s = time_s.back() - time_s.front();
  const double interval_s =
      time_s.size() < 2 ? 0 : elapsed_s / static_cast<double>(time_s.size() - 1);
  const double span_s = cell_span_s(elapsed_s, interval_s, widths.line);
  if (with_head) {
    lines.push_back(
        painted(clipped(head(widths, span_s, look), columns, look), Paint::faint, look));
  }
  for (const KeyText& key : texts) {
    std::string row = clipped(start_of_row(key, widths, look), columns, look);
    if (widths.line > 0) {
      const Column& column = samples.columns[key.column];
      const Extent& extent = extremes.of(key.column);
      row += ' ' + painted(sparkline(cell_means(time_s, column.values, span_s, widths.line), extent,
                                     least_height(column, extent), look),
                           Paint::accent, look);
    }
    lines.push_back(row);
  }
  if (shown < keys) {
    const std::string more = "+ " + std::to_string(keys - shown) + " more";
    lines.push_back(painted(clipped(more, columns, look), Paint::faint, look));
  }
  return lines;
}

}  // namespace lab
