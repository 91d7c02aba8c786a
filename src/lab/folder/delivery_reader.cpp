#include "lab/folder/delivery_reader.h"

#include <algorithm>
#include <utility>

#include "lab/data/instants.h"
#include "lab/data/values.h"

namespace lab {

namespace {

// Buffers of the record are emptied ten times a second, and after a second at the latest: of an on
// phase older than this, no more lines come.
constexpr std::int64_t kWorkApart = 1'000'000'000;  // ns: what is done in less is of no interest

constexpr std::int64_t kSettled = 5'000'000'000;  // ns

std::optional<double> percentile(std::vector<float> values, double part) {
  if (values.empty()) {
    return std::nullopt;
  }
  return static_cast<double>(share_below(std::move(values), part));
}

}  // namespace

void DeliveryReader::add(const RecordLine& line) {
  const std::string_view keyword = line.keyword();
  if (keyword == "vorn-record") {
    begin_record();
  } else if (keyword == "edge") {
    add_edge(line);
  } else if (keyword == "entered") {
    engine_.entered.push_back(line.whole(0).value_or(0));
  } else if (keyword == "time" || keyword == "use") {
    add_time(line);
  } else if (keyword == "work") {
    add_work(line);
  } else if (keyword == "sample") {
    add_sample(line.whole(0).value_or(0));
  } else if (keyword == "gap") {
    const double length = static_cast<double>(line.whole(3).value_or(0)) / kSecond_ns;
    ++sums_.holes;
    sums_.holes_s += length;
    sums_.longest_hole_s = std::max(sums_.longest_hole_s.value_or(0), length);
  } else if (keyword == "throttled") {
    const std::int64_t count = line.whole(2).value_or(0) + line.whole(3).value_or(0);
    const auto [place, is_new] = engine_.throttles.try_emplace(line.whole(1).value_or(-1), count);
    if (!is_new) {
      sums_.throttled += std::max<std::int64_t>(0, count - place->second);
      place->second = count;
    }
  } else if (keyword == "forced") {
    const std::int64_t instant = line.whole(0).value_or(0);
    sums_.forced.push_back({static_cast<double>(instant - zero_ns_.value_or(instant)) / kSecond_ns,
                            line.text(1), line.text(2)});
  } else if (keyword == "error") {
    ++sums_.wrong_results;
    sums_.errors.push_back(line.text(3));
  } else if (keyword == "refused") {
    sums_.errors.push_back(line.text(1) + ": " + line.text(2));
  } else if (keyword == "threads") {
    sums_.threads = std::max(sums_.threads, static_cast<int>(line.whole(0).value_or(0)));
  } else if (keyword == "dropped") {
    add_dropped(line);
  } else if (keyword == "lost") {
    std::int64_t told = 0;
    for (const auto& [kind, count] : engine_.dropped) {
      told += count;
    }
    sums_.events_dropped += std::max<std::int64_t>(0, line.whole(0).value_or(0) - told);
    sums_.record_lost += line.whole(1).value_or(0);
  } else if (keyword == "end") {
    sums_.whole = true;
    end_reason_ = line.text(2);
  }
}

void DeliveryReader::add_edge(const RecordLine& line) {
  const std::int64_t planned = line.whole(0).value_or(0);
  const std::int64_t switched = line.whole(1).value_or(0);
  const bool on = line.field(2) == "on";
  if (!engine_.begin_ns) {
    engine_.begin_ns = planned;
  } else if (engine_.on) {
    engine_.on_ns += planned - engine_.last_edge_ns;
  }
  ++sums_.edges;
  lateness_us_.push_back(
      static_cast<float>(static_cast<double>(switched - planned) / kMicrosecond_ns));
  engine_.last_edge_ns = planned;
  engine_.on = on;
  if (on) {
    engine_.on_phases[std::min(planned, switched)] = {};
  }
  // The lines of bursts come before or behind those of their edges: which edge a burst follows is
  // known as soon as a later one has been read.
  const auto later = std::partition(engine_.entered.begin(), engine_.entered.end(),
                                    [&](std::int64_t instant) { return instant >= planned; });
  std::for_each(later, engine_.entered.end(),
                [&](std::int64_t instant) { add_entered(instant, engine_.on_phases); });
  engine_.entered.erase(later, engine_.entered.end());
  while (!engine_.on_phases.empty() && engine_.on_phases.begin()->first < planned - kSettled) {
    add_skew(engine_.on_phases.begin()->second, skews_us_);
    engine_.on_phases.erase(engine_.on_phases.begin());
  }
}

void DeliveryReader::add_time(const RecordLine& line) {
  const std::int64_t instant = line.whole(0).value_or(0);
  if (!engine_.begin_ns || instant < *engine_.begin_ns) {
    return;  // what a load does before the waveform is not part of it
  }
  const std::int64_t time = line.whole(2).value_or(0);
  const auto [place, is_new] = engine_.times.try_emplace(line.whole(1).value_or(0),
                                                         ThreadTime{instant, time, instant, time});
  if (!is_new) {
    place->second.last_ns = instant;
    place->second.last_time_ns = time;
  }
}

void DeliveryReader::add_sample(std::int64_t instant_ns) {
  if (engine_.last_sample_ns) {
    const double gap = static_cast<double>(instant_ns - *engine_.last_sample_ns) / kSecond_ns;
    sums_.sample_gap_max_s = std::max(sums_.sample_gap_max_s.value_or(0), gap);
  }
  engine_.last_sample_ns = instant_ns;
  zero_ns_ = zero_ns_.value_or(instant_ns);
  ++sums_.samples;
}

void DeliveryReader::add_dropped(const RecordLine& line) {
  std::int64_t& before = engine_.dropped[line.text(0) + " " + line.text(2)];
  const std::int64_t more = std::max<std::int64_t>(0, line.whole(1).value_or(0) - before);
  before += more;
  sums_.events_dropped += more;
}

void DeliveryReader::add_entered(std::int64_t instant_ns,
                                 std::map<std::int64_t, OnPhase>& on_phases) {
  const auto after = on_phases.upper_bound(instant_ns);
  if (after == on_phases.begin()) {
    return;
  }
  OnPhase& phase = std::prev(after)->second;
  phase.first_ns = phase.entered == 0 ? instant_ns : std::min(phase.first_ns, instant_ns);
  phase.last_ns = phase.entered == 0 ? instant_ns : std::max(phase.last_ns, instant_ns);
  ++phase.entered;
}

void DeliveryReader::add_work(const RecordLine& line) {
  const std::int64_t instant = line.whole(0).value_or(0);
  engine_.operations[line.whole(1).value_or(0)] = static_cast<double>(line.whole(2).value_or(0));
  if (!zero_ns_ || instant < work_due_ns_) {
    return;
  }
  work_due_ns_ = instant + kWorkApart;
  double operations = earlier_operations_;
  for (const auto& [thread, done] : engine_.operations) {
    operations += done;
  }
  sums_.work.push_back({static_cast<double>(instant - *zero_ns_) / kSecond_ns, operations});
}

void DeliveryReader::add_skew(const OnPhase& phase, std::vector<float>& skews_us) {
  if (phase.entered > 1) {
    skews_us.push_back(
        static_cast<float>(static_cast<double>(phase.last_ns - phase.first_ns) / kMicrosecond_ns));
  }
}

void DeliveryReader::add_rest(std::vector<float>& skews_us) const {
  std::map<std::int64_t, OnPhase> on_phases = engine_.on_phases;
  for (const std::int64_t instant : engine_.entered) {
    add_entered(instant, on_phases);
  }
  for (const auto& [begin, phase] : on_phases) {
    add_skew(phase, skews_us);
  }
}

void DeliveryReader::begin_record() {
  if (records_ > 0) {
    ended_ = duties();
    add_rest(skews_us_);
    cut_ = cut_ || !sums_.whole;
    sums_.whole = false;
    for (const auto& [thread, done] : engine_.operations) {
      earlier_operations_ += done;
    }
    engine_ = {};
  }
  ++records_;
}

DeliveryReader::Duties DeliveryReader::duties() const {
  Duties duties = ended_;
  if (!engine_.begin_ns) {
    return duties;
  }
  double part = 0;
  std::int64_t end_ns = engine_.last_edge_ns;  // both duties are of the same stretch of time
  for (const auto& [thread, time] : engine_.times) {
    end_ns = std::max(end_ns, time.last_ns);
    if (time.last_ns > time.first_ns) {
      part += static_cast<double>(time.last_time_ns - time.first_time_ns) /
              static_cast<double>(time.last_ns - time.first_ns);
    }
  }
  const auto span_ns = static_cast<double>(end_ns - *engine_.begin_ns);
  duties.span_ns += span_ns;
  duties.asked_ns +=
      static_cast<double>(engine_.on_ns + (engine_.on ? end_ns - engine_.last_edge_ns : 0));
  if (!engine_.times.empty()) {
    duties.delivered = true;
    duties.delivered_ns += span_ns * part / static_cast<double>(engine_.times.size());
  }
  return duties;
}

Delivery DeliveryReader::delivery() const {
  Delivery sums = sums_;
  sums.edge_lateness_p50_us = percentile(lateness_us_, 0.5);
  sums.edge_lateness_p99_us = percentile(lateness_us_, 0.99);
  sums.edge_lateness_max_us = percentile(lateness_us_, 1);
  std::vector<float> skews = skews_us_;
  add_rest(skews);
  sums.skew_p50_us = percentile(skews, 0.5);
  sums.skew_p99_us = percentile(std::move(skews), 0.99);
  const Duties all = duties();
  if (all.span_ns > 0) {
    sums.duty_asked = all.asked_ns / all.span_ns;
    if (all.delivered) {
      sums.duty_delivered = all.delivered_ns / all.span_ns;
    }
  }
  sums.whole = sums_.whole && !cut_;
  return sums;
}

}  // namespace lab
