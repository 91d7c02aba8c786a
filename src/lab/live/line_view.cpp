#include "lab/live/line_view.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "lab/data/characters.h"
#include "lab/live/frame.h"
#include "lab/live/key_rows.h"
#include "lab/live/look.h"
#include "lab/live/quantity.h"

namespace lab {

namespace {

constexpr double kEveryS = 5;
// Logs are searched: the same characters everywhere. Titles and warnings stay as they are.
constexpr Look kPlain{.utf8 = false, .colour = false};

std::string left_text(const LiveState& state) {
  return state.left_s ? "at most " + minutes_and_seconds(std::ceil(*state.left_s)) + " left"
                      : "no end is set";
}

}  // namespace

std::string values_text(const LiveState& state) {
  constexpr std::size_t kMostKeys = 12;
  std::string text;
  if (state.samples == nullptr || state.samples->time_s.empty()) {
    return "none so far; " + left_text(state);
  }
  const Table& samples = *state.samples;
  const auto add = [&text](const std::string& value) {
    text.append(text.empty() ? "" : ", ").append(value);
  };
  for (const std::string_view load : {kAskedColumn, kDeliveredColumn, kOthersColumn}) {
    if (samples.find(load) != nullptr) {
      add(std::string(load) + ' ' + percent(recent_mean(samples, load)));
    }
    if (load == kDeliveredColumn && state.load_age_s >= 1) {
      text += " (" + std::to_string(std::lround(state.load_age_s)) + " s ago)";
    }
  }
  const std::vector<std::size_t> keys = key_columns(samples);
  for (std::size_t key = 0; key < std::min(keys.size(), kMostKeys); ++key) {
    const Column& column = samples.columns[keys[key]];
    add(printable(column.name, true) + ' ' + number(column.values.back(), column.unit));
    if (!column.unit.empty()) {
      text += ' ' + written_unit(column.unit, kPlain);
    }
  }
  if (keys.size() > kMostKeys) {
    add("+ " + std::to_string(keys.size() - kMostKeys) + " more");
  }
  return text + "; " + left_text(state);
}

LineView::LineView(int fd) : outlet_(fd) {}

LineView::~LineView() {
  outlet_.drain(kAtTheEnd);
}

void LineView::line(const LiveState& state, std::string_view word, const std::string& text) {
  char seconds[32];
  (void)std::snprintf(seconds, sizeof seconds, "%6.0f s  ", std::floor(state.elapsed_s));
  outlet_.put(std::string(seconds).append(word).append(": ").append(text).append("\n"));
}

void LineView::show(const LiveState& state) {
  (void)outlet_.all_written();
  if (!begun_) {
    begun_ = true;
    line(state, "run", printable(state.title, true));
    next_values_s_ = state.elapsed_s + kEveryS;
  }
  if (state.phase != phase_) {
    phase_ = state.phase;
    std::string text = printable(state.phase, true);
    if (!state.next.empty()) {
      text += "; next: " + printable(state.next, true);
    }
    line(state, "phase", text + "; " + left_text(state));
  }
  for (; state.warnings != nullptr && warnings_ < state.warnings->size(); ++warnings_) {
    line(state, "warning", printable((*state.warnings)[warnings_], true));
  }
  if (state.ending && !ending_said_) {
    ending_said_ = true;
    line(state, "ending", "what there is will be analysed");
  }
  if (state.elapsed_s >= next_values_s_) {
    // On the grid that the first line began, however late this one is.
    next_values_s_ += kEveryS * (1 + std::floor((state.elapsed_s - next_values_s_) / kEveryS));
    if (outlet_.all_written()) {
      line(state, "values", values_text(state));
    }
  }
}

}  // namespace lab
