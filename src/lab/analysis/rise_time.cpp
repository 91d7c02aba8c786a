#include "lab/analysis/rise_time.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>

namespace lab {

namespace {

struct Level {
  double mean = 0;
  double deviation = 0;
  double count = 0;
};

Level level_of(std::span<const double> time_s, std::span<const double> values, double from_s,
               double to_s) {
  double sum = 0;
  double square = 0;
  double count = 0;
  const auto begin = std::lower_bound(time_s.begin(), time_s.end(), from_s) - time_s.begin();
  for (auto at = static_cast<std::size_t>(begin); at < time_s.size() && time_s[at] < to_s; ++at) {
    if (std::isfinite(values[at])) {
      sum += values[at];
      square += values[at] * values[at];
      count += 1;
    }
  }
  const double mean = count > 0 ? sum / count : 0;
  const double spread = count > 0 ? std::max(0.0, square / count - mean * mean) : 0;
  return {.mean = mean, .deviation = std::sqrt(spread), .count = count};
}

struct Sum {
  double since_s = 0;
  double way = 0;
  double count = 0;
};

/// Where the curve comes from below `level` to it, in a straight line between point `at` and the
/// one before.
std::optional<double> crossing(const RiseTime& curve, double level, std::size_t at) {
  if (!(curve.way[at] >= level && curve.way[at - 1] < level)) {
    return std::nullopt;
  }
  const double part = (level - curve.way[at - 1]) / (curve.way[at] - curve.way[at - 1]);
  return curve.since_s[at - 1] + part * (curve.since_s[at] - curve.since_s[at - 1]);
}

/// Reads the times off the curve: half of the way, then outwards from there.
bool read_times(RiseTime& curve) {
  std::size_t middle = 1;
  std::optional<double> half;
  while (middle < curve.way.size() && !(half = crossing(curve, 0.5, middle))) {
    ++middle;
  }
  std::optional<double> begin;
  for (std::size_t at = middle; half && at > 0 && !begin; --at) {
    begin = crossing(curve, 0.1, at);
  }
  std::optional<double> end;
  for (std::size_t at = middle; half && at < curve.way.size() && !end; ++at) {
    end = crossing(curve, 0.9, at);
  }
  if (!begin || !end) {
    return false;
  }
  curve.delay_s = *half;
  curve.rise_s = *end - *begin;
  return true;
}

double sampled_every(std::span<const double> time_s) {
  return time_s.size() < 2
             ? 0
             : (time_s.back() - time_s.front()) / static_cast<double>(time_s.size() - 1);
}

}  // namespace

std::optional<RiseTime> rise_time(std::span<const double> time_s, std::span<const double> values,
                                  std::span<const LoadStep> steps) {
  constexpr double kStandsOut = 4;  // times what the level wavers by
  constexpr std::size_t kFewest = 3;
  const double bin_s = std::max(0.002, sampled_every(time_s) / 4);
  // As much as all steps have: where the reading has come to rest is the last third of each level.
  double before_s = std::numeric_limits<double>::infinity();
  double after_s = before_s;
  for (const LoadStep& step : steps) {
    before_s = std::min(before_s, step.before_s / 3);
    after_s = std::min(after_s, step.after_s);
  }
  std::map<std::int64_t, Sum> bins;
  RiseTime found;
  for (const LoadStep& step : steps) {
    const double from_s = step.time_s - before_s;
    const double to_s = step.time_s + after_s;
    const Level before = level_of(time_s, values, from_s, step.time_s);
    const Level after = level_of(time_s, values, to_s - after_s / 3, to_s);
    const double way = after.mean - before.mean;
    if (before.count < 2 || after.count < 2 ||
        std::abs(way) < kStandsOut * std::max(before.deviation, after.deviation) || way == 0) {
      continue;
    }
    ++found.steps;
    const auto begin = std::lower_bound(time_s.begin(), time_s.end(), from_s) - time_s.begin();
    for (auto at = static_cast<std::size_t>(begin); at < time_s.size() && time_s[at] < to_s; ++at) {
      if (std::isfinite(values[at])) {
        const double since_s = time_s[at] - step.time_s;
        Sum& sum = bins[static_cast<std::int64_t>(std::floor(since_s / bin_s))];
        sum.since_s += since_s;
        sum.way += (values[at] - before.mean) / way;
        sum.count += 1;
      }
    }
  }
  if (found.steps < kFewest) {
    return std::nullopt;
  }
  for (const auto& [bin, sum] : bins) {
    found.since_s.push_back(sum.since_s / sum.count);
    found.way.push_back(sum.way / sum.count);
  }
  return read_times(found) ? std::optional(found) : std::nullopt;
}

}  // namespace lab
