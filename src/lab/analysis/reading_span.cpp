#include "lab/analysis/reading_span.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "lab/data/values.h"

// A kernel that withholds fixed priorities for 0.05 s of each second stops load and sampler
// together. The sample comes late, at the end of the hole, and the next one at its own time: soon.
// A meter that always shows the mean of the last 0.1 s then shows the hole twice. Taken for means
// since the sample before, such readings lose a part of the energy that holes do not have, some
// tenths of a percent, always to the same side.

namespace lab {

namespace {

constexpr double kShort = 0.9;  // of a period: below, a reading says little of its own time

// Heat from `from_s` to the sample at `at`, as far back as the record goes; `mean` has what is
// known up to there.
double energy_before(std::span<const double> time_s, const std::vector<double>& mean,
                     std::size_t at, double from_s) {
  double energy = 0;
  for (std::size_t back = at; back > 0 && time_s[back] > from_s; --back) {
    energy += mean[back] * (time_s[back] - std::max(from_s, time_s[back - 1]));
  }
  if (time_s[0] > from_s) {
    energy += mean[0] * (time_s[0] - from_s);
  }
  return energy;
}

}  // namespace

double reading_period(std::span<const double> time_s) {
  if (time_s.size() < 3) {
    return 0;
  }
  std::vector<double> steps_s;
  for (std::size_t at = 1; at < time_s.size(); ++at) {
    steps_s.push_back(time_s[at] - time_s[at - 1]);
  }
  const double period_s = share_below(steps_s, 0.5);
  const auto within = [&](double part) {
    return static_cast<double>(std::count_if(steps_s.begin(), steps_s.end(), [&](double step_s) {
      return std::abs(step_s - period_s) <= part * period_s;
    }));
  };
  const auto count = static_cast<double>(steps_s.size());
  const bool even = within(0.02) == count;
  const bool periodic = within(0.1) >= 2 * count / 3;
  return periodic && !even ? period_s : 0;
}

std::vector<double> since_before(std::span<const double> time_s, std::span<const double> heat,
                                 ReadingSpan span, double period_s) {
  std::vector<double> mean(heat.begin(), heat.end());
  if (span == ReadingSpan::since_before) {
    return mean;
  }
  const bool or_more = span == ReadingSpan::period_or_more;
  for (std::size_t at = 1; at < mean.size(); ++at) {
    const double step_s = time_s[at] - time_s[at - 1];
    double known = mean[at];
    if (or_more && step_s < period_s) {
      const double before = energy_before(time_s, mean, at - 1, time_s[at] - period_s);
      known = (heat[at] * period_s - before) / step_s;
    } else if (!or_more && step_s < kShort * period_s && at + 1 < heat.size()) {
      known = heat[at + 1];
    } else if (!or_more && step_s > period_s) {
      known = (heat[at] * period_s + mean[at - 1] * (step_s - period_s)) / step_s;
    }
    if (std::isfinite(known)) {
      mean[at] = known;
    }
  }
  return mean;
}

}  // namespace lab
