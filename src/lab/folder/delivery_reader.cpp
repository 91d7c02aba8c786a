#include "lab/folder/delivery_reader.h"

#include <algorithm>
#include <cmath>

namespace lab {

namespace {

constexpr double kMicrosecond = 1e3;  // ns
constexpr double kSecond = 1e9;       // ns

// Buffers of the record are emptied ten times a second, and after a second at the latest: of an on
// phase older than this, no more lines come.
constexpr std::int64_t kSettled = 5'000'000'000;  // ns

std::optional<double> percentile(std::vector<float> values, double part) {
  if (values.empty()) {
    return std::nullopt;
  }
  const auto place =
      values.begin() +
      static_cast<std::ptrdiff_t>(std::floor(part * static_cast<double>(values.size() - 1)));
  std::nth_element(values.begin(), place, values.end());
  return static_cast<double>(*place);
}

}  // namespace

void DeliveryReader::add(const RecordLine& line) {
  const std::string_view keyword = line.keyword();
  if (keyword == "edge") {
    add_edge(line);
  } else if (keyword == "entered") {
    const std::int64_t instant = line.whole(0).value_or(0);
    const auto after = on_phases_.upper_bound(instant);
    if (after != on_phases_.begin()) {
      OnPhase& phase = std::prev(after)->second;
      phase.first_ns = phase.entered == 0 ? instant : std::min(phase.first_ns, instant);
      phase.last_ns = phase.entered == 0 ? instant : std::max(phase.last_ns, instant);
      ++phase.entered;
    }
  } else if (keyword == "time" || keyword == "use") {
    add_time(line);
  } else if (keyword == "sample") {
    const std::int64_t instant = line.whole(0).value_or(0);
    if (sums_.samples > 0) {
      const double gap = static_cast<double>(instant - last_sample_ns_) / kSecond;
      sums_.sample_gap_max_s = std::max(sums_.sample_gap_max_s.value_or(0), gap);
    }
    last_sample_ns_ = instant;
    ++sums_.samples;
  } else if (keyword == "gap") {
    const double length = static_cast<double>(line.whole(3).value_or(0)) / kSecond;
    ++sums_.holes;
    sums_.holes_s += length;
    sums_.longest_hole_s = std::max(sums_.longest_hole_s.value_or(0), length);
  } else if (keyword == "throttled") {
    const std::int64_t count = line.whole(2).value_or(0) + line.whole(3).value_or(0);
    const auto [place, is_new] = throttles_.try_emplace(line.whole(1).value_or(-1), count);
    if (!is_new) {
      sums_.throttled += std::max<std::int64_t>(0, count - place->second);
      place->second = count;
    }
  } else if (keyword == "error") {
    ++sums_.wrong_results;
    sums_.errors.push_back(line.text(3));
  } else if (keyword == "refused") {
    sums_.errors.push_back(line.text(1) + ": " + line.text(2));
  } else if (keyword == "lost") {
    sums_.events_dropped = line.whole(0).value_or(0);
  } else if (keyword == "end") {
    sums_.whole = true;
    end_status_ = static_cast<int>(line.whole(1).value_or(-1));
    end_reason_ = line.text(2);
  }
}

void DeliveryReader::add_edge(const RecordLine& line) {
  const std::int64_t planned = line.whole(0).value_or(0);
  const std::int64_t switched = line.whole(1).value_or(0);
  const bool on = line.field(2) == "on";
  if (sums_.edges == 0) {
    begin_ns_ = planned;
  } else if (on_) {
    on_ns_ += planned - last_edge_ns_;
  }
  ++sums_.edges;
  lateness_us_.push_back(
      static_cast<float>(static_cast<double>(switched - planned) / kMicrosecond));
  last_edge_ns_ = planned;
  on_ = on;
  if (on) {
    on_phases_[planned] = {};
  }
  while (!on_phases_.empty() && on_phases_.begin()->first < planned - kSettled) {
    const OnPhase& phase = on_phases_.begin()->second;
    if (phase.entered > 1) {
      skews_us_.push_back(
          static_cast<float>(static_cast<double>(phase.last_ns - phase.first_ns) / kMicrosecond));
    }
    on_phases_.erase(on_phases_.begin());
  }
}

void DeliveryReader::add_time(const RecordLine& line) {
  const std::int64_t instant = line.whole(0).value_or(0);
  if (sums_.edges == 0 || instant < begin_ns_) {
    return;  // what a load does before the waveform is not part of it
  }
  const std::int64_t time = line.whole(2).value_or(0);
  const auto [place, is_new] =
      times_.try_emplace(line.whole(1).value_or(0), ThreadTime{instant, time, instant, time});
  if (!is_new) {
    place->second.last_ns = instant;
    place->second.last_time_ns = time;
  }
}

Delivery DeliveryReader::delivery() const {
  Delivery sums = sums_;
  sums.edge_lateness_p50_us = percentile(lateness_us_, 0.5);
  sums.edge_lateness_p99_us = percentile(lateness_us_, 0.99);
  sums.edge_lateness_max_us = percentile(lateness_us_, 1);
  std::vector<float> skews = skews_us_;
  for (const auto& [begin, phase] : on_phases_) {
    if (phase.entered > 1) {
      skews.push_back(
          static_cast<float>(static_cast<double>(phase.last_ns - phase.first_ns) / kMicrosecond));
    }
  }
  sums.skew_p50_us = percentile(skews, 0.5);
  sums.skew_p99_us = percentile(std::move(skews), 0.99);
  double part = 0;
  std::int64_t end_ns = last_edge_ns_;  // both duties are of the same stretch of time
  for (const auto& [thread, time] : times_) {
    end_ns = std::max(end_ns, time.last_ns);
    if (time.last_ns > time.first_ns) {
      part += static_cast<double>(time.last_time_ns - time.first_time_ns) /
              static_cast<double>(time.last_ns - time.first_ns);
    }
  }
  if (!times_.empty()) {
    sums.duty_delivered = part / static_cast<double>(times_.size());
  }
  if (end_ns > begin_ns_) {
    const std::int64_t on_ns = on_ns_ + (on_ ? end_ns - last_edge_ns_ : 0);
    sums.duty_asked = static_cast<double>(on_ns) / static_cast<double>(end_ns - begin_ns_);
  }
  return sums;
}

}  // namespace lab
