#include "lab/live/frame.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <string_view>

#include "lab/data/characters.h"
#include "lab/live/fitting.h"
#include "lab/live/key_rows.h"
#include "lab/live/quantity.h"
#include "lab/live/sparkline.h"
#include "lab/live/warning_rows.h"

namespace lab {

namespace {

using Lines = std::vector<std::string>;

// Below them, what is least missed gives way to keys.
constexpr int kFewRows = 14;
constexpr int kVeryFewRows = 12;

/// Bars and sparklines that are longer say no more, and lead the eye away from what is beside them.
constexpr int kMostColumns = 132;

/// A name, a bar and percents, in all columns; without a bar where there is no room for one.
std::string bar_row(std::string_view name, int name_columns, double fraction, int columns,
                    Look look) {
  constexpr int kPercentColumns = 6;
  constexpr int kLeastOfBar = 6;
  const int of_bar = columns - name_columns - kPercentColumns;
  if (of_bar < kLeastOfBar) {
    return clipped(std::string(name).append(" ").append(percent(fraction)), columns, look);
  }
  return left_aligned(name, name_columns, look) +
         painted(bar(fraction, of_bar, look), Paint::accent, look) +
         right_aligned(percent(fraction), kPercentColumns, look);
}

Lines title(const LiveState& state, Size size, Look look) {
  return {
      painted(clipped(printable(state.title, look.utf8), size.columns, look), Paint::bold, look)};
}

/// Where the run is, how far, and what comes next.
Lines progress(const LiveState& state, Size size, Look look) {
  Lines lines;
  std::string times = minutes_and_seconds(state.elapsed_s);
  times += state.left_s ? ", at most " + minutes_and_seconds(std::ceil(*state.left_s)) + " left"
                        : ", no end is set";
  lines.push_back(at_both_ends(printable(state.phase, look.utf8), times, size.columns, look));
  if (state.left_s && size.rows >= kVeryFewRows) {
    const double all_s = state.elapsed_s + std::max(0.0, *state.left_s);
    const double done = all_s > 0 ? state.elapsed_s / all_s : 0;
    lines.push_back(bar_row("", 0, done, size.columns, look));
  }
  if (!state.next.empty()) {
    lines.push_back(clipped("next: " + printable(state.next, look.utf8), size.columns, look));
  }
  return lines;
}

Lines loads(const LiveState& state, Size size, Look look) {
  struct Load {
    std::string_view name;
    std::string_view column;
  };
  constexpr Load kLoads[] = {
      {"asked", kAskedColumn}, {"delivered", kDeliveredColumn}, {"others", kOthersColumn}};
  constexpr int kNameColumns = 10;
  Lines lines;
  for (const Load& load : kLoads) {
    if (state.samples == nullptr || state.samples->find(load.column) == nullptr ||
        (load.column == kOthersColumn && size.rows < kFewRows)) {
      continue;
    }
    lines.push_back(bar_row(load.name, kNameColumns, recent_mean(*state.samples, load.column),
                            size.columns, look));
  }
  return lines;
}

Lines footer(const LiveState& state, Size size, Look look) {
  const std::string_view text = state.ending ? "The run ends, and what there is will be analysed"
                                             : "Ctrl-C ends the run and analyses it";
  return {
      painted(clipped(text, size.columns, look), state.ending ? Paint::bold : Paint::faint, look)};
}

bool has_rows(const Table* samples) {
  return samples != nullptr && !samples->time_s.empty();
}

void append(Lines& lines, const Lines& group, bool gap) {
  if (gap && !group.empty() && !lines.empty()) {
    lines.emplace_back();
  }
  lines.insert(lines.end(), group.begin(), group.end());
}

}  // namespace

double recent_mean(const Table& samples, std::string_view column) {
  constexpr double kRecentS = 1;
  const Column* found = samples.find(column);
  double sum = 0;
  int measured = 0;
  for (std::size_t row = samples.time_s.size(); found != nullptr && row > 0; --row) {
    if (samples.time_s[row - 1] <= samples.time_s.back() - kRecentS) {
      break;
    }
    if (const double value = found->values[row - 1]; !std::isnan(value)) {
      sum += value;
      ++measured;
    }
  }
  return measured > 0 ? sum / measured : std::numeric_limits<double>::quiet_NaN();
}

std::vector<std::string> compose(const LiveState& state, const Extremes& extremes, Size size,
                                 Look look) {
  size.columns = std::min(size.columns, kMostColumns);
  const Lines above[] = {title(state, size, look), progress(state, size, look),
                         loads(state, size, look)};
  const Lines said = state.warnings == nullptr
                         ? Lines{}
                         : warning_rows(*state.warnings, size.rows < kFewRows ? 1 : size.rows / 4,
                                        size.columns, look);
  const Lines last = footer(state, size, look);
  std::size_t taken = said.size() + last.size();
  for (const Lines& group : above) {
    taken += group.size();
  }
  const int room = size.rows - static_cast<int>(taken);

  // Gaps between the groups, if no key has to give way to them.
  const bool keyed = has_rows(state.samples);
  const int rows_of_keys = keyed ? 1 + static_cast<int>(key_columns(*state.samples).size()) : 1;
  constexpr int kGaps = static_cast<int>(std::size(above)) + 2;
  const bool gaps = room - kGaps >= rows_of_keys;
  const Lines keys =
      keyed ? key_rows(*state.samples, extremes, gaps ? room - kGaps : room, size.columns, look)
            : Lines{clipped("No sample was taken so far.", size.columns, look)};
  Lines lines;
  for (const Lines& group : above) {
    append(lines, group, gaps);
  }
  append(lines, keys, gaps);
  append(lines, said, gaps);
  // The footer stands at the foot.
  const auto rows = static_cast<std::size_t>(std::max(1, size.rows));
  if (rows > last.size()) {
    lines.resize(rows - last.size());
    lines.insert(lines.end(), last.begin(), last.end());
  }
  lines.resize(rows);
  return lines;
}

}  // namespace lab
