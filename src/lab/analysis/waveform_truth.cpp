#include "lab/analysis/waveform_truth.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "lab/analysis/quantile.h"
#include "lab/data/instants.h"

// On time is taken twice. From a thread's begin to its end is what the engine says itself, and
// leaves out nothing but what kept the thread from its processor in between. Its processor time is
// what the kernel says, and is what counts. It is known at the samples, which do not lie on the
// edges: so it is compared with what was planned between the same two samples, and the difference
// is the error of the duty.

namespace lab {

namespace {

using Edges = std::vector<Stimulus::Edge>;

/// A period: its on edge, its off edge, and the on edge behind it.
struct Period {
  std::int64_t on_ns = 0;
  std::int64_t off_ns = 0;
  std::int64_t end_ns = 0;
};

std::vector<Period> periods_of(const Edges& edges, const Stretch& stretch) {
  std::vector<Period> periods;
  for (std::size_t at = 0; at + 2 < edges.size(); ++at) {
    if (edges[at].on && !edges[at + 1].on && edges[at + 2].on &&
        edges[at].planned_ns >= stretch.from_ns && edges[at + 2].planned_ns <= stretch.to_ns) {
      periods.push_back({.on_ns = edges[at].planned_ns,
                         .off_ns = edges[at + 1].planned_ns,
                         .end_ns = edges[at + 2].planned_ns});
    }
  }
  return periods;
}

/// When a thread began in a period, and when it ended; 0: that was not seen.
struct Part {
  std::int64_t begin_ns = 0;
  std::int64_t end_ns = 0;
};

/// Of each period, what each thread did in it.
std::vector<std::map<int, Part>> parts_of(const std::vector<Stimulus::Follow>& follows,
                                          const std::vector<Period>& periods) {
  std::vector<std::map<int, Part>> parts(periods.size());
  auto follow = follows.begin();
  for (std::size_t at = 0; at < periods.size(); ++at) {
    while (follow != follows.end() && follow->instant_ns < periods[at].on_ns) {
      ++follow;
    }
    for (; follow != follows.end() && follow->instant_ns < periods[at].end_ns; ++follow) {
      Part& part = parts[at][follow->thread];
      if (follow->on && part.begin_ns == 0) {
        part.begin_ns = follow->instant_ns;
      } else if (!follow->on && follow->instant_ns >= periods[at].off_ns) {
        part.end_ns = follow->instant_ns;
      }
    }
  }
  return parts;
}

std::size_t threads_of(const Stimulus& stimulus) {
  std::set<int> numbers;
  for (const Stimulus::Thread& thread : stimulus.threads) {
    numbers.insert(thread.number);
  }
  for (const Stimulus::Follow& follow : stimulus.follows) {
    numbers.insert(follow.thread);
  }
  return numbers.size();
}

/// What was found in all periods, in us.
struct Found {
  std::vector<double> on;
  std::vector<double> off;
  std::vector<double> skew;
  std::vector<double> begun_s;     // of periods that some thread began
  std::vector<double> begun_late;  // the first thread of those
  double between = 0;              // sum of the parts of their periods
  double seen = 0;                 // how many parts
};

double behind_us(std::int64_t instant_ns, std::int64_t edge_ns) {
  return static_cast<double>(instant_ns - edge_ns) / kMicrosecond_ns;
}

void add_period(const Period& period, const std::map<int, Part>& parts, double since_s,
                std::size_t threads, Found& found) {
  std::vector<double> begins;
  for (const auto& [thread, part] : parts) {
    if (part.begin_ns != 0) {
      begins.push_back(behind_us(part.begin_ns, period.on_ns));
    }
    if (part.end_ns != 0) {
      found.off.push_back(behind_us(part.end_ns, period.off_ns));
    }
    if (part.begin_ns != 0 && part.end_ns != 0) {
      found.between += static_cast<double>(part.end_ns - part.begin_ns) /
                       static_cast<double>(period.end_ns - period.on_ns);
      found.seen += 1;
    }
  }
  if (begins.empty()) {
    return;
  }
  const auto [first, last] = std::minmax_element(begins.begin(), begins.end());
  found.begun_s.push_back(since_s);
  found.begun_late.push_back(*first);
  if (begins.size() == threads && threads > 1) {
    found.skew.push_back(*last - *first);
  }
  found.on.insert(found.on.end(), begins.begin(), begins.end());
}

/// The frequency of edges that are `late_us` behind those of `carrier_hz`: a straight line through
/// the lateness over time, whose slope is the error of the period.
std::optional<Estimate> frequency_of(const std::vector<double>& time_s,
                                     const std::vector<double>& late_us, double carrier_hz) {
  const auto count = static_cast<double>(time_s.size());
  if (count < 3) {
    return std::nullopt;
  }
  double mean_s = 0;
  double mean_late = 0;
  for (std::size_t at = 0; at < time_s.size(); ++at) {
    mean_s += time_s[at] / count;
    mean_late += 1e-6 * late_us[at] / count;
  }
  double square = 0;
  double product = 0;
  for (std::size_t at = 0; at < time_s.size(); ++at) {
    square += (time_s[at] - mean_s) * (time_s[at] - mean_s);
    product += (time_s[at] - mean_s) * (1e-6 * late_us[at] - mean_late);
  }
  const double slope = product / square;
  double left = 0;
  for (std::size_t at = 0; at < time_s.size(); ++at) {
    const double off = 1e-6 * late_us[at] - mean_late - slope * (time_s[at] - mean_s);
    left += off * off;
  }
  const double half = two_sided_95(count - 2) * std::sqrt(left / (count - 2) / square);
  return Estimate{.value = carrier_hz / (1 + slope),
                  .low = carrier_hz / (1 + slope + half),
                  .high = carrier_hz / (1 + slope - half),
                  .unit = "Hz"};
}

/// The planned on time between two instants, as a part of it.
double planned_part(const Edges& edges, std::int64_t from_ns, std::int64_t to_ns) {
  auto edge = std::upper_bound(
      edges.begin(), edges.end(), from_ns,
      [](std::int64_t instant, const Stimulus::Edge& one) { return instant < one.planned_ns; });
  std::int64_t on_ns = 0;
  std::int64_t at_ns = from_ns;
  bool on = edge != edges.begin() && std::prev(edge)->on;
  for (; edge != edges.end() && edge->planned_ns < to_ns; ++edge) {
    on_ns += on ? edge->planned_ns - at_ns : 0;
    at_ns = edge->planned_ns;
    on = edge->on;
  }
  on_ns += on ? to_ns - at_ns : 0;
  return static_cast<double>(on_ns) / static_cast<double>(to_ns - from_ns);
}

/// By how much each second's duty, by the kernel's account, differed from what was planned.
std::vector<double> duty_errors(const Stimulus& stimulus, const Stretch& stretch) {
  std::map<int, Stimulus::ThreadTime> begun;
  std::map<std::int64_t, std::pair<double, int>> errors;  // sum and count, by second
  for (const Stimulus::ThreadTime& time : stimulus.times) {
    if (time.instant_ns < stretch.from_ns || time.instant_ns > stretch.to_ns) {
      continue;
    }
    const auto [place, is_new] = begun.try_emplace(time.thread, time);
    const Stimulus::ThreadTime first = place->second;
    if (is_new || static_cast<double>(time.instant_ns - first.instant_ns) < kSecond_ns) {
      continue;
    }
    const double part = static_cast<double>(time.time_ns - first.time_ns) /
                        static_cast<double>(time.instant_ns - first.instant_ns);
    auto& [sum, count] = errors[static_cast<std::int64_t>(
        std::llround(static_cast<double>(time.instant_ns - stretch.from_ns) / kSecond_ns))];
    sum += part - planned_part(stimulus.edges, first.instant_ns, time.instant_ns);
    ++count;
    place->second = time;
  }
  std::vector<double> found;
  found.reserve(errors.size());
  for (const auto& [second, error] : errors) {
    found.push_back(error.first / error.second);
  }
  return found;
}

std::optional<Estimate> duty_of(double asked, const std::vector<double>& errors) {
  const auto count = static_cast<double>(errors.size());
  if (count < 1) {
    return std::nullopt;
  }
  double mean = 0;
  for (const double error : errors) {
    mean += error / count;
  }
  double square = 0;
  for (const double error : errors) {
    square += (error - mean) * (error - mean);
  }
  const double half = count < 3 ? std::numeric_limits<double>::infinity()
                                : two_sided_95(count - 1) * std::sqrt(square / (count - 1) / count);
  return Estimate{
      .value = asked + mean, .low = asked + mean - half, .high = asked + mean + half, .unit = ""};
}

}  // namespace

WaveformTruth waveform_truth(const Stimulus& stimulus, const Stretch& stretch, double carrier_hz) {
  WaveformTruth truth;
  const std::vector<Period> periods = periods_of(stimulus.edges, stretch);
  if (periods.size() < 3) {
    return truth;
  }
  const std::size_t threads = threads_of(stimulus);
  const std::vector<std::map<int, Part>> parts = parts_of(stimulus.follows, periods);
  Found found;
  for (std::size_t at = 0; at < periods.size(); ++at) {
    const double since_s =
        static_cast<double>(periods[at].on_ns - periods.front().on_ns) / kSecond_ns;
    add_period(periods[at], parts[at], since_s, threads, found);
  }
  const auto spread = [](std::vector<double>& times_us, std::size_t wanted) {
    const std::size_t missed = wanted - std::min(wanted, times_us.size());
    return Spread(std::move(times_us), missed);
  };
  const Stretch whole{.from_ns = periods.front().on_ns, .to_ns = periods.back().end_ns};
  truth.periods = periods.size();
  truth.on = spread(found.on, threads * periods.size());
  truth.off = spread(found.off, threads * periods.size());
  truth.skew = spread(found.skew, threads > 1 ? periods.size() : 0);
  truth.frequency = frequency_of(found.begun_s, found.begun_late, carrier_hz);
  truth.duty_asked = planned_part(stimulus.edges, whole.from_ns, whole.to_ns);
  truth.duty_between = found.seen > 0 ? found.between / found.seen : 0;
  truth.duty = duty_of(truth.duty_asked, duty_errors(stimulus, whole));
  return truth;
}

Spread behind_the_grid(const Stimulus& stimulus, double rate_hz) {
  std::vector<double> late_us;
  std::size_t left_out = 0;
  std::optional<double> last;
  for (const Stimulus::Sample& sample : stimulus.samples) {
    const double point = std::floor(sample.elapsed_s * rate_hz);
    late_us.push_back(1e6 * (sample.elapsed_s - point / rate_hz));
    if (last && point > *last + 1) {
      left_out += static_cast<std::size_t>(point - *last - 1);
    }
    last = point;
  }
  return Spread(std::move(late_us), left_out);
}

}  // namespace lab
