#include "lab/analysis/sensor_truth.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "lab/data/values.h"

namespace lab {

namespace {

// The distance of which all distances are multiples, as Euclid finds it, but for a tenth: the
// values may have been rounded when they were written. Short distances make it exact before long
// ones are judged, which are many multiples of it. 0: there is none.
double common_divisor(std::vector<double> distances, double least) {
  std::sort(distances.begin(), distances.end());
  double divisor = distances.front();
  for (int round = 0; round < 6 && divisor > least; ++round) {
    double worst = 0;
    double sum = 0;
    double multiples = 0;
    double exact = divisor;
    for (const double distance : distances) {
      const double times = std::round(distance / exact);
      const double off = std::abs(distance - times * exact);
      worst = std::max(worst, off);
      if (off <= 0.1 * divisor) {
        sum += distance;
        multiples += times;
        exact = sum / multiples;
      }
    }
    if (worst <= 0.1 * divisor) {
      return exact;
    }
    divisor = worst;
  }
  return 0;
}

// Of a long column as many values as show its grid; the least and the most are always among them.
std::vector<double> some_of(const std::vector<double>& values) {
  constexpr std::size_t kEnough = 50000;
  if (values.size() <= kEnough) {
    return values;
  }
  const auto [least, most] = std::minmax_element(values.begin(), values.end());
  std::vector<double> some{*least, *most};
  const std::size_t apart = values.size() / kEnough + 1;
  for (std::size_t at = 0; at < values.size(); at += apart) {
    some.push_back(values[at]);
  }
  return some;
}

double step_of(std::vector<double> values, std::size_t& levels) {
  std::sort(values.begin(), values.end());
  const double range = values.empty() ? 0 : values.back() - values.front();
  const double same = 1e-9 * std::max(range, 1e-6);
  std::vector<double> distances;
  for (std::size_t at = 1; at < values.size(); ++at) {
    if (values[at] - values[at - 1] > same) {
      distances.push_back(values[at] - values[at - 1]);
    }
  }
  levels = values.empty() ? 0 : distances.size() + 1;
  return distances.empty() ? 0 : common_divisor(std::move(distances), 1e-7 * range);
}

struct Changes {
  std::vector<double> gaps_s;  // from one to the next
  std::size_t count = 0;
  std::size_t wide = 0;  // by more than one step
};

Changes changes_of(std::span<const double> time_s, std::span<const double> values, double step) {
  Changes changes;
  std::optional<double> last;
  std::optional<double> last_s;
  for (std::size_t at = 0; at < values.size(); ++at) {
    if (!std::isfinite(values[at])) {
      continue;
    }
    if (last && values[at] != *last) {
      ++changes.count;
      if (std::abs(values[at] - *last) > 1.5 * step) {
        ++changes.wide;
      }
      if (last_s) {
        changes.gaps_s.push_back(time_s[at] - *last_s);
      }
      last_s = time_s[at];
    }
    last = values[at];
  }
  return changes;
}

std::optional<double> interval_of(const Changes& changes, double sampled_every_s) {
  constexpr std::size_t kFew = 6;
  if (changes.gaps_s.size() < kFew) {
    return std::nullopt;
  }
  const double least_s = share_below(changes.gaps_s, 0.1);
  if (least_s < 1.5 * sampled_every_s) {
    return sampled_every_s;
  }
  double sum_s = 0;
  double multiples = 0;
  std::size_t fitting = 0;
  const double slack = std::max(0.15, sampled_every_s / least_s);
  for (const double gap_s : changes.gaps_s) {
    const double times = std::round(gap_s / least_s);
    if (gap_s < 1.5 * least_s) {
      sum_s += gap_s;
      multiples += 1;
    }
    if (times >= 1 && std::abs(gap_s / least_s - times) <= slack * std::max(1.0, times / 4)) {
      ++fitting;
    }
  }
  const bool on_a_grid =
      static_cast<double>(fitting) >= 0.85 * static_cast<double>(changes.gaps_s.size());
  const bool often_wide = 10 * changes.wide >= 3 * changes.count;
  const bool by_chance = slack > 0.34 || changes.gaps_s.size() < 20;
  if (on_a_grid && (often_wide || !by_chance)) {
    return sum_s / multiples;
  }
  return sampled_every_s;
}

}  // namespace

SensorTruth sensor_truth(std::span<const double> time_s, std::span<const double> values) {
  SensorTruth truth;
  std::vector<double> there;
  std::vector<double> distances_s;
  for (std::size_t at = 0; at < values.size(); ++at) {
    if (std::isfinite(values[at])) {
      there.push_back(values[at]);
    }
    if (at > 0) {
      distances_s.push_back(time_s[at] - time_s[at - 1]);
    }
  }
  truth.sampled_every_s = distances_s.empty() ? 0 : share_below(std::move(distances_s), 0.5);
  truth.step = step_of(some_of(there), truth.levels);
  truth.update_interval_s =
      interval_of(changes_of(time_s, values, truth.step), truth.sampled_every_s);
  truth.fresh.assign(values.size(), false);
  std::optional<std::size_t> last;
  for (std::size_t at = 0; at < values.size(); ++at) {
    if (!std::isfinite(values[at])) {
      continue;
    }
    if (!truth.slow() || !last || values[at] != values[*last] ||
        time_s[at] - time_s[*last] > *truth.update_interval_s - 0.25 * truth.sampled_every_s) {
      truth.fresh[at] = true;
      last = at;
    }
  }
  return truth;
}

}  // namespace lab
