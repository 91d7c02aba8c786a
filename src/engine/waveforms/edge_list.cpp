#include "engine/waveforms/edge_list.h"

#include <cmath>
#include <utility>

#include "engine/waveforms/text_lines.h"

namespace {

constexpr std::size_t kMostIntervals = 1000000;  // 8 MB in memory

// What is shorter, no thread can follow; a loop of such intervals would only keep the timing
// thread busy.
constexpr double kShortestUs = 1.0;

constexpr double kLongestUs = 366.0 * 24 * 3600 * 1e6;  // a year

double read_interval(const TextLines& lines, std::string_view line, bool first) {
  if (words_of(line).size() != 1) {
    lines.fail("one interval belongs here, and there is " + shown_text(line));
  }
  const double interval_us = lines.number(line);
  if (interval_us < 0.0) {
    lines.fail("interval " + shown_text(line) + " is negative");
  }
  if (interval_us < kShortestUs && !(first && interval_us == 0.0)) {
    lines.fail("interval " + shown_text(line) + " is shorter than 1 us");
  }
  if (interval_us > kLongestUs) {
    lines.fail("interval " + shown_text(line) + " is longer than a year");
  }
  return interval_us;
}

bool ends_on(const EdgeList& list) {
  return list.ends_ns.size() % 2 == 1;
}

/// Whether a round begins with the level that the round before ended with.
bool joins_rounds(const EdgeList& list) {
  const bool begins_off = list.ends_ns.front() == 0;
  return ends_on(list) || begins_off;
}

/// The interval of the next round that the last one of a round is joined with: one of no length in
/// front of it is left out, if the two are off.
std::size_t joined_with(const EdgeList& list) {
  return ends_on(list) ? 0 : 1;
}

}  // namespace

EdgeList read_edges(const std::string& path, Playing playing) {
  TextLines lines(path);
  EdgeList list;
  while (const std::optional<std::string_view> line = lines.next()) {
    if (list.ends_ns.size() == kMostIntervals) {
      lines.fail("there are more than " + std::to_string(kMostIntervals) + " intervals");
    }
    const double interval_us = read_interval(lines, *line, list.ends_ns.empty());
    list.length_ns += static_cast<long double>(interval_us) * 1000;
    if (list.length_ns > static_cast<long double>(kLongestUs) * 1000) {
      lines.fail("the intervals up to here are longer than a year");
    }
    list.ends_ns.push_back(std::llrint(list.length_ns));
  }
  if (list.ends_ns.empty()) {
    lines.fail_wholly("the file says nothing");
  }
  if (list.ends_ns.back() == 0) {
    lines.fail_wholly("an interval of 0 must be followed by another");
  }
  if (playing == Playing::looped && joins_rounds(list) &&
      list.ends_ns.size() == joined_with(list) + 1) {
    lines.fail_wholly("a single interval cannot be looped: the load would never be switched");
  }
  return list;
}

EdgeListSource::EdgeListSource(EdgeList list, Playing playing)
    : list_(std::move(list)), playing_(playing), joined_(joins_rounds(list_)) {}

void EdgeListSource::begin_round(std::size_t first) {
  ++round_;
  round_begin_ns_ = std::llrint(static_cast<long double>(round_) * list_.length_ns);
  next_ = first;
}

std::optional<std::int64_t> EdgeListSource::next_ns() {
  const std::size_t count = list_.ends_ns.size();
  if (next_ == count && playing_ == Playing::once) {
    return std::nullopt;
  }
  if (next_ == count) {
    begin_round(0);
  } else if (next_ + 1 == count && joined_ && playing_ == Playing::looped) {
    begin_round(joined_with(list_));
  }
  const std::int64_t edge_ns = round_begin_ns_ + list_.ends_ns[next_++];
  const std::int64_t interval_ns = edge_ns - last_edge_ns_;
  last_edge_ns_ = edge_ns;
  return interval_ns;
}
