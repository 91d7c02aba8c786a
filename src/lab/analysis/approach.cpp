#include "lab/analysis/approach.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace lab {

namespace {

constexpr std::size_t kApproachParts = 30;

struct ApproachPart {
  double time_s = 0;
  double value = 0;
  double count = 0;
};
using Parts = std::array<ApproachPart, kApproachParts>;

Parts approach_parts(std::span<const double> time_s, std::span<const double> values,
                     double length_s) {
  Parts parts;
  for (std::size_t index = 0; index < time_s.size(); ++index) {
    if (!std::isfinite(values[index])) {
      continue;
    }
    const double since_s = time_s[index] - time_s.front();
    const auto place = static_cast<std::size_t>(since_s / length_s * kApproachParts);
    ApproachPart& part = parts[std::min(place, kApproachParts - 1)];
    part.time_s += since_s;
    part.value += values[index];
    ++part.count;
  }
  for (ApproachPart& part : parts) {
    part.time_s /= std::max(1.0, part.count);
    part.value /= std::max(1.0, part.count);
  }
  return parts;
}

struct ApproachFit {
  double squares = 0;  // of what it leaves
  double height = 0;   // b
  double taken = 0;    // by how much b lessens the squares
};

double clearness_of(const ApproachFit& fitted) {
  constexpr double kLeast = 1e-30;  // of a value without noise
  const double variance = fitted.squares / (kApproachParts - 3);
  return std::sqrt(std::max(0.0, fitted.taken) / std::max(variance, kLeast));
}

/// The best final value and height for one time constant.
ApproachFit fit(const Parts& parts, double tau_s) {
  double n = 0;
  double x = 0;
  double y = 0;
  double xx = 0;
  double xy = 0;
  double yy = 0;
  const double first = parts[0].value;  // near the values: no digits are lost in the squares
  for (const ApproachPart& part : parts) {
    if (part.count > 0) {
      const double decay = std::exp(-part.time_s / tau_s);
      const double value = part.value - first;
      n += 1;
      x += decay;
      y += value;
      xx += decay * decay;
      xy += decay * value;
      yy += value * value;
    }
  }
  const double variance = n * xx - x * x;
  const double covariance = n * xy - x * y;
  const double height = variance > 0 ? covariance / variance : 0;
  const double taken = height * covariance / n;
  return {.squares = std::max(0.0, yy - y * y / n - taken), .height = height, .taken = taken};
}

}  // namespace

Approach approach(std::span<const double> time_s, std::span<const double> values,
                  std::optional<double> known_tau_s) {
  constexpr double kShortest = 0.02;  // of the record
  constexpr double kLongest = 3;      // beyond that, a straight line fits as well
  constexpr double kStep = 1.08;
  constexpr Approach kNoEnd{.to_come = std::numeric_limits<double>::infinity(),
                            .tau_s = std::numeric_limits<double>::infinity()};
  const double length_s = time_s.empty() ? 0 : time_s.back() - time_s.front();
  if (!(length_s > 0)) {
    return kNoEnd;
  }
  const Parts parts = approach_parts(time_s, values, length_s);
  const auto to_come = [&](const ApproachFit& fitted, double with_tau_s) {
    return std::abs(fitted.height) * std::exp(-length_s / with_tau_s);
  };
  if (known_tau_s) {
    const ApproachFit fitted = fit(parts, *known_tau_s);
    return {.to_come = to_come(fitted, *known_tau_s),
            .tau_s = *known_tau_s,
            .clearness = clearness_of(fitted)};
  }
  double best_tau_s = 0;
  ApproachFit best{.squares = std::numeric_limits<double>::infinity()};
  double tau_s = kShortest * length_s;
  while (tau_s < kLongest * length_s) {
    if (const ApproachFit tried = fit(parts, tau_s); tried.squares < best.squares) {
      best = tried;
      best_tau_s = tau_s;
    }
    tau_s *= kStep;
  }
  if (best_tau_s * kStep >= tau_s && best.height != 0) {
    Approach endless = kNoEnd;  // the longest one fits best
    endless.clearness = clearness_of(best);
    return endless;
  }
  return {
      .to_come = to_come(best, best_tau_s), .tau_s = best_tau_s, .clearness = clearness_of(best)};
}

}  // namespace lab
