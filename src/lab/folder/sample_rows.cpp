#include "lab/folder/sample_rows.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "lab/data/instants.h"

namespace lab {

namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

// The engine writes its record ten times a second, but puts a write off for up to a second until
// its load is off.
constexpr std::int64_t kRecordLateness = 2'000'000'000;  // ns

/// A number as the sample file has it, with six digits.
double rounded(std::string_view text) {
  double value = kUnknown;
  std::from_chars(text.data(), text.data() + text.size(), value);
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                 std::chars_format::general, 6)
                       .ptr;
  std::from_chars(digits.data(), end, value);
  return value;
}

/// The numbers of a line with tabs between; an empty vector if it is something else.
std::vector<double> numbers(std::string_view line) {
  std::vector<double> found;
  while (!line.empty()) {
    double value = kUnknown;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), value);
    if (error != std::errc()) {
      return {};
    }
    found.push_back(value);
    line.remove_prefix(static_cast<std::size_t>(end - line.data()));
    if (!line.empty() && line.front() != '\t') {
      return {};
    }
    line.remove_prefix(line.empty() ? 0 : 1);
  }
  return found;
}

}  // namespace

void SampleRows::add_sample(std::string_view line) {
  std::vector<double> values = line.starts_with('#') ? std::vector<double>() : numbers(line);
  if (values.empty()) {
    return;
  }
  // The engine counts from its own first sample, which need not be that of the run.
  const double before_s =
      engine_zero_ ? static_cast<double>(engine_zero_->instant_ns - *zero_ns_) / kSecond_ns : 0;
  newest_ = SampleRow{.time_s = before_s + values[0],
                      .phase = std::max(0, phase_) + origin_.first_phase,
                      .asked = kUnknown,
                      .delivered = kUnknown,
                      .keys = {values.begin() + 1, values.end()}};
  lines_.push_back({.seconds = values[0], .values = newest_->keys});
}

void SampleRows::add_record(const RecordLine& line) {
  const std::string_view keyword = line.keyword();
  const std::int64_t instant = line.whole(0).value_or(0);
  if (keyword == "sample") {
    samples_.push_back({.instant_ns = instant, .seconds = rounded(line.field(1))});
    zero_ns_ = zero_ns_.value_or(instant);
    engine_zero_ = engine_zero_.value_or(samples_.back());
  } else if (keyword == "edge") {
    edges_.push_back({instant, line.field(2) == "on"});
  } else if (keyword == "asked") {
    phases_.push_back(instant);
  } else if (keyword == "time" || keyword == "use") {
    times_[line.whole(1).value_or(0)].push_back({instant, line.whole(2).value_or(0)});
  } else if (keyword == "setting") {
    waveform_ = waveform_ || line.field(0) == "waveform";
    return;
  } else if (keyword == "threads") {
    threads_ = line.whole(0).value_or(0);
    return;
  } else if (keyword == "thread") {
    load_began_ns_ = load_began_ns_.value_or(newest_ns_);
    return;
  } else if (keyword != "clock") {
    return;
  }
  newest_ns_ = std::max(newest_ns_, keyword == "edge" ? line.whole(1).value_or(0) : instant);
}

/// The part of the time between two instants for which the waveform was to be on.
double SampleRows::on_part(std::int64_t from_ns, std::int64_t to_ns) {
  if (!waveform_) {
    return load_began_ns_ && to_ns > *load_began_ns_ ? 1 : 0;
  }
  if (to_ns <= from_ns) {
    return kUnknown;
  }
  while (edges_.size() > 1 && edges_[1].instant_ns <= from_ns) {
    edges_.pop_front();
  }
  std::int64_t on_ns = 0;
  for (std::size_t index = 0; index < edges_.size(); ++index) {
    const std::int64_t end =
        index + 1 < edges_.size() ? std::min(edges_[index + 1].instant_ns, to_ns) : to_ns;
    const std::int64_t begin = std::max(edges_[index].instant_ns, from_ns);
    if (edges_[index].on && end > begin) {
      on_ns += end - begin;
    }
  }
  return static_cast<double>(on_ns) / static_cast<double>(to_ns - from_ns);
}

/// What the load delivers while the waveform is on, as a part of all processors' time: fewer
/// threads than processors cannot keep all of them busy.
double SampleRows::full_load() const {
  return threads_ > 0 && threads_ < origin_.processors
             ? static_cast<double>(threads_) / origin_.processors
             : 1;
}

/// The processor time of all threads between two instants, as a part of all processors' time.
double SampleRows::load(std::int64_t from_ns, std::int64_t to_ns) {
  if (to_ns <= from_ns) {
    return kUnknown;
  }
  const auto at = [](const std::deque<Time>& times, std::int64_t instant_ns) {
    const auto after = std::find_if(times.begin(), times.end(), [&](const Time& time) {
      return time.instant_ns >= instant_ns;
    });
    if (after == times.begin() || after == times.end()) {
      const Time& end = after == times.end() ? times.back() : times.front();
      return static_cast<double>(end.time_ns);
    }
    const Time& before = *std::prev(after);
    const double part = static_cast<double>(instant_ns - before.instant_ns) /
                        static_cast<double>(after->instant_ns - before.instant_ns);
    return static_cast<double>(before.time_ns) +
           part * static_cast<double>(after->time_ns - before.time_ns);
  };
  double sum = 0;
  for (auto& [thread, times] : times_) {
    while (times.size() > 1 && times[1].instant_ns <= from_ns) {
      times.pop_front();
    }
    sum += at(times, to_ns) - at(times, from_ns);
  }
  return sum / (static_cast<double>(to_ns - from_ns) * origin_.processors);
}

int SampleRows::phase_at(std::int64_t instant_ns) {
  while (!phases_.empty() && phases_.front() <= instant_ns) {
    phases_.pop_front();
    ++phase_;
  }
  return std::max(0, phase_) + origin_.first_phase;
}

std::deque<SampleRows::Sample>::const_iterator SampleRows::sample_of(const Line& line) const {
  return std::find_if(samples_.begin(), samples_.end(),
                      [&](const Sample& sample) { return sample.seconds == line.seconds; });
}

/// The instant of the first line; nothing while its record may still come. Lets go of the samples
/// before it, whose lines were lost. The record lacks the line if it has one of those behind it:
/// then the line's seconds say when it was taken, counted from the one before. They are of the wall
/// clock, which may be set, so they say nothing by themselves.
std::optional<std::int64_t> SampleRows::first_instant(bool all) {
  const Line& line = lines_.front();
  if (const auto found = sample_of(line); found != samples_.end()) {
    if (!all && found->instant_ns >= newest_ns_ - kRecordLateness) {
      return std::nullopt;
    }
    last_ = *found;
    samples_.erase(samples_.begin(), std::next(found));
    return last_->instant_ns;
  }
  const bool lacking =
      all || std::any_of(std::next(lines_.begin()), lines_.end(), [&](const Line& later) {
        const auto found = sample_of(later);
        return found != samples_.end() && found->instant_ns < newest_ns_ - kRecordLateness;
      });
  if (!lacking || !engine_zero_) {
    return std::nullopt;
  }
  const Sample& before = last_ ? *last_ : *engine_zero_;
  return before.instant_ns +
         static_cast<std::int64_t>((line.seconds - before.seconds) * kSecond_ns);
}

std::vector<SampleRow> SampleRows::take(bool all) {
  std::vector<SampleRow> rows;
  while (!lines_.empty()) {
    const std::optional<std::int64_t> instant = first_instant(all);
    if (!instant) {
      break;
    }
    if (last_row_ns_ && *instant <= *last_row_ns_) {
      lines_.pop_front();  // its seconds are of a wall clock that was set back
      continue;
    }
    const std::int64_t before = last_row_ns_.value_or(*instant);
    const bool recorded = *instant <= newest_ns_;
    rows.push_back({.time_s = static_cast<double>(*instant - *zero_ns_) / kSecond_ns,
                    .phase = phase_at(*instant),
                    .asked = recorded ? full_load() * on_part(before, *instant) : kUnknown,
                    .delivered = recorded ? load(before, *instant) : kUnknown,
                    .keys = std::move(lines_.front().values)});
    last_row_ns_ = instant;
    lines_.pop_front();
  }
  return rows;
}

}  // namespace lab
