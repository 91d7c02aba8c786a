#include "lab/analysis/dropouts.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace lab {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// Neighbours that are there, one before and one behind the samples [begin, end).
struct SuspectStretch {
  std::size_t begin;
  std::size_t end;
  double before;  ///< NaN: the record begins with the stretch
  double behind;
};

/// The stretches of values that `suspect` picks out; what was not read is part of a stretch.
std::vector<SuspectStretch> stretches(const std::vector<double>& values,
                                      const std::function<bool(double)>& suspect) {
  std::vector<SuspectStretch> found;
  double before = kNone;
  for (std::size_t at = 0; at < values.size(); ++at) {
    if (!suspect(values[at])) {
      before = std::isfinite(values[at]) ? values[at] : before;
      continue;
    }
    const auto end =
        std::find_if(values.begin() + static_cast<std::ptrdiff_t>(at), values.end(),
                     [&](double value) { return std::isfinite(value) && !suspect(value); });
    const auto past = static_cast<std::size_t>(end - values.begin());
    found.push_back(
        {.begin = at, .end = past, .before = before, .behind = end == values.end() ? kNone : *end});
    at = past - 1;
  }
  return found;
}

std::size_t take_out(std::vector<double>& values, const SuspectStretch& stretch) {
  std::size_t count = 0;
  for (std::size_t at = stretch.begin; at < stretch.end; ++at) {
    count += std::isfinite(values[at]) ? 1U : 0U;
    values[at] = kNone;
  }
  return count;
}

}  // namespace

std::size_t take_out_temperature_dropouts(std::vector<double>& values) {
  // Colder and hotter than a machine that still runs.
  constexpr double kTooCold = -60;
  constexpr double kTooHot = 250;
  constexpr double kFar = 5;  // K: no heat sink does that from one sample to the next, and back
  const auto beyond = [](double value) { return value <= kTooCold || value >= kTooHot; };
  std::size_t count = 0;
  for (const SuspectStretch& stretch : stretches(values, beyond)) {
    if (std::isfinite(stretch.before) || std::isfinite(stretch.behind)) {
      count += take_out(values, stretch);
    }
  }
  for (const SuspectStretch& stretch : stretches(values, [](double value) { return value == 0; })) {
    if (std::abs(stretch.before) >= kFar && std::abs(stretch.behind) >= kFar) {
      count += take_out(values, stretch);
    }
  }
  return count;
}

std::size_t take_out_power_dropouts(std::vector<double>& values) {
  constexpr std::size_t kLongest = 3;
  constexpr double kSame = 0.2;
  constexpr std::size_t kRare = 50;
  std::vector<SuspectStretch> rare;
  std::size_t samples = 0;
  for (const SuspectStretch& stretch : stretches(values, [](double value) { return value == 0; })) {
    const double larger = std::max(stretch.before, stretch.behind);
    if (stretch.end - stretch.begin <= kLongest && stretch.before > 0 && stretch.behind > 0 &&
        std::abs(stretch.before - stretch.behind) <= kSame * larger) {
      rare.push_back(stretch);
      samples += stretch.end - stretch.begin;
    }
  }
  std::size_t count = 0;
  if (samples * kRare <= values.size()) {
    for (const SuspectStretch& stretch : rare) {
      count += take_out(values, stretch);
    }
  }
  return count;
}

}  // namespace lab
