#include "lab/analysis/settled_value.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "lab/analysis/exponential_fit.h"
#include "lab/analysis/quantile.h"
#include "lab/analysis/sensor_truth.h"

namespace lab {

namespace {

constexpr double kValueParts = 36;
constexpr std::size_t kFewestParts = 8;
constexpr double kShortest = 0.1;  // of the two thirds: faster ones are over
constexpr double kLongest = 2;     // of them: beyond, a straight line fits as well

// Parts of the way in the two thirds that are still to come.
constexpr double kSmallerPart = 1.0 / 3;
constexpr double kMostToCome = 0.5;
constexpr double kNotExponential = 0.1;  // of what is to come: what one exponential may be off

/// The means of parts of the record, which are what is fitted.
std::vector<FitPoint> parts_of(std::span<const double> time_s, std::span<const double> values,
                               double length_s) {
  std::vector<FitPoint> parts(static_cast<std::size_t>(kValueParts));
  std::vector<double> counts(parts.size());
  for (std::size_t row = 0; row < time_s.size(); ++row) {
    if (std::isfinite(values[row])) {
      const double since_s = time_s[row] - time_s.front();
      const auto place = static_cast<std::size_t>(since_s / length_s * kValueParts);
      const std::size_t at = std::min(place, parts.size() - 1);
      parts[at].since_s += since_s;
      parts[at].value += values[row];
      counts[at] += 1;
    }
  }
  std::vector<FitPoint> filled;
  for (std::size_t at = 0; at < parts.size(); ++at) {
    if (counts[at] > 0) {
      filled.push_back({parts[at].since_s / counts[at], parts[at].value / counts[at]});
    }
  }
  return filled;
}

std::vector<ExponentialFit> fits_of(const std::vector<FitPoint>& parts, double length_s,
                                    const std::optional<TimeConstants>& constants) {
  if (constants && !(constants->best_s > 0)) {
    return {fit_exponential(parts, 0)};
  }
  return constants ? fit_exponentials(parts, constants->least_s, constants->most_s)
                   : fit_exponentials(parts, kShortest * length_s, kLongest * length_s);
}

/// What a sensor that stands still on a step may be off.
double rounding(std::span<const double> time_s, std::span<const double> values, double deviation) {
  constexpr double kMoving = 0.3;  // of a step: noise that tells values between two
  const SensorTruth sensor = sensor_truth(time_s, values);
  return sensor.levels <= 1 || deviation < kMoving * sensor.step ? sensor.step / 2 : 0;
}

/// Of a value that hardly moved, by `change`, and whose end is not seen.
void settle_where_it_is(double at, double change, SettledValue& result) {
  constexpr double kToCome = 3;  // times the change
  result.settled = true;
  result.foretold = true;
  result.to_come = kToCome * change;
  result.value.value = at;
  result.value.low = at - (change < 0 ? kToCome : 1) * std::abs(change);
  result.value.high = at + (change > 0 ? kToCome : 1) * std::abs(change);
}

}  // namespace

SettledValue settled_value(std::span<const double> time_s, std::span<const double> values,
                           const std::string& unit, const std::optional<TimeConstants>& constants,
                           double still_change) {
  SettledValue result;
  result.value = {.value = std::numeric_limits<double>::quiet_NaN(),
                  .low = -kInfinite,
                  .high = kInfinite,
                  .unit = unit};
  const std::size_t third = time_s.size() / 3;
  const auto times = time_s.subspan(third);
  const auto last_values = values.subspan(third);
  const double length_s = times.size() > 1 ? times.back() - times.front() : 0;
  const std::vector<FitPoint> parts =
      length_s > 0 ? parts_of(times, last_values, length_s) : std::vector<FitPoint>();
  if (parts.size() < kFewestParts) {
    return result;
  }
  const std::vector<ExponentialFit> fits = fits_of(parts, length_s, constants);
  const ExponentialFit best = best_of(fits);
  const auto count = static_cast<double>(parts.size());
  const double raise = inflation(parts, best);
  const double freedom = std::max(1.0, count / raise - 3);
  const double variance = best.squares / (count - 3) * raise;
  const double factor = two_sided_95(freedom);
  const double allowed = best.squares + factor * factor * variance;
  const ExponentialFit still = fit_exponential(parts, 0);
  result.misfit = best.squares / count;
  result.clearness =
      std::sqrt(std::max(0.0, still.squares - best.squares) / std::max(variance, 1e-30));
  if (!constants && still.squares <= allowed) {
    // Nothing tells that it moves, and so nothing tells a time constant.
    result.constants = {};
    const double half = factor * std::sqrt(variance * still.gain);
    result.value.value = still.last;
    result.value.low = still.last - half;
    result.value.high = still.last + half;
    result.settled = true;
  } else {
    result.value.value = best.last;
    result.value.low = kInfinite;
    result.value.high = -kInfinite;
    result.constants = {.least_s = best.tau_s, .best_s = best.tau_s, .most_s = best.tau_s};
    for (const ExponentialFit& one : fits) {
      if (constants || one.squares <= allowed) {
        const double half = factor * std::sqrt(variance * one.gain);
        result.value.low = std::min(result.value.low, one.last - half);
        result.value.high = std::max(result.value.high, one.last + half);
        result.constants.least_s = std::min(result.constants.least_s, one.tau_s);
        result.constants.most_s = std::max(result.constants.most_s, one.tau_s);
      }
    }
    const double decay = best.tau_s > 0 ? std::exp(-length_s / best.tau_s) : 0;
    const bool endless = !constants && result.constants.most_s >= kLongest * length_s;
    result.to_come = -best.height * decay;
    result.foretold = decay > kSmallerPart;
    result.settled = !result.foretold || (decay <= kMostToCome && !endless);
    if (result.settled && result.foretold) {
      const double more = kNotExponential * std::abs(result.to_come);
      result.value.low -= more;
      result.value.high += more;
    }
    const double change = best.height * (decay - 1);
    if (!result.settled && std::abs(change) <= still_change) {
      settle_where_it_is(best.last + best.height * decay, change, result);
    }
    if (!result.settled) {
      (result.to_come > 0 ? result.value.high : result.value.low) =
          result.to_come > 0 ? kInfinite : -kInfinite;
    }
  }
  const double half_step = rounding(time_s, values, std::sqrt(best.squares / count));
  result.value.low -= half_step;
  result.value.high += half_step;
  return result;
}

}  // namespace lab
