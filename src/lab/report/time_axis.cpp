#include "lab/report/time_axis.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/data/values.h"

namespace lab {

namespace {

constexpr double kLongestInSeconds = 600;
constexpr double kLongestInMinutes = 36000;
constexpr double kGapInSteps = 10;
constexpr double kShortestGap_s = 2;

std::vector<double> with_between(const std::vector<double>& values,
                                 const std::vector<std::size_t>& after,
                                 double (*between)(double, double)) {
  std::vector<double> all;
  all.reserve(values.size() + after.size());
  std::size_t next = 0;
  for (std::size_t row = 0; row < values.size(); ++row) {
    all.push_back(values[row]);
    if (next < after.size() && after[next] == row) {
      all.push_back(between(values[row], values[row + 1]));
      ++next;
    }
  }
  return all;
}

std::string phase_name(const Plan& plan, double index) {
  if (!(index >= 0) || index >= static_cast<double>(plan.phases.size())) {
    return "";
  }
  return plan.phases[static_cast<std::size_t>(index)].name;
}

}  // namespace

TimeUnit time_unit(double length_s) {
  if (length_s <= kLongestInSeconds) {
    return {.name = "s", .seconds = 1};
  }
  if (length_s <= kLongestInMinutes) {
    return {.name = "min", .seconds = 60};
  }
  return {.name = "h", .seconds = 3600};
}

std::vector<std::size_t> gaps(const std::vector<double>& time_s) {
  if (time_s.size() < 2) {
    return {};
  }
  std::vector<double> steps;
  steps.reserve(time_s.size());
  for (std::size_t row = 0; row + 1 < time_s.size(); ++row) {
    steps.push_back(time_s[row + 1] - time_s[row]);
  }
  const double longest = std::max(kGapInSteps * share_below(steps, 0.5), kShortestGap_s);
  std::vector<std::size_t> found;
  for (std::size_t row = 0; row < steps.size(); ++row) {
    if (steps[row] > longest) {
      found.push_back(row);
    }
  }
  return found;
}

std::vector<double> with_nothing(const std::vector<double>& values,
                                 const std::vector<std::size_t>& after) {
  return with_between(values, after,
                      [](double, double) { return std::numeric_limits<double>::quiet_NaN(); });
}

std::vector<double> with_instants(const std::vector<double>& time_s,
                                  const std::vector<std::size_t>& after) {
  return with_between(time_s, after, [](double one, double other) { return (one + other) / 2; });
}

std::vector<NamedStretch> phases_in(const Table& samples, const Plan& plan) {
  const Column* column = samples.find(kPhaseColumn);
  if (column == nullptr) {
    return {};
  }
  std::vector<NamedStretch> phases;
  double now = std::numeric_limits<double>::quiet_NaN();
  for (std::size_t row = 0; row < samples.time_s.size(); ++row) {
    const double index = column->values[row];
    const double time_s = samples.time_s[row];
    if (!phases.empty()) {
      phases.back().end = time_s;
    }
    if (!std::isnan(index) && index != now) {
      now = index;
      phases.push_back({.begin = time_s, .end = time_s, .name = phase_name(plan, index)});
    }
  }
  // The last sample stands for as long as the one before it.
  if (const std::size_t rows = samples.time_s.size(); rows > 1 && !phases.empty()) {
    phases.back().end += samples.time_s[rows - 1] - samples.time_s[rows - 2];
  }
  return phases;
}

}  // namespace lab
