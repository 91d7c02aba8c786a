#include "lab/analysis/rounded_normal.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lab {

namespace {

constexpr double kLogRootTwoPi = 0.9189385332046727;

// erfc(x) exp(x^2), for x > 0: what erfc alone has no room for. Beyond 5 by its continued fraction.
double scaled_erfc(double x) {
  if (x < 5) {
    return std::erfc(x) * std::exp(x * x);
  }
  double below = x;
  for (int term = 12; term > 0; --term) {
    below = x + 0.5 * term / below;
  }
  return std::numbers::inv_sqrtpi / below;
}

}  // namespace

RoundedNormal rounded_normal(double low, double high, double mean, double sigma) {
  double a = (low - mean) / sigma;
  double b = (high - mean) / sigma;
  const bool below = a + b < 0;  // the mean is above the middle: look at it from the other side
  if (below) {
    const double turned = -a;
    a = -b;
    b = turned;
  }
  // Everything relative to the density at the nearer bound if both lie to one side, else to that
  // at the mean.
  double probability = 0;
  double log_scale = 0;
  double at_a = 0;  // density at the bounds, on that scale
  double at_b = 0;
  if (a > 0) {
    const double fall = std::exp(-0.5 * (b - a) * (b + a));
    const double half = std::sqrt(std::numbers::pi / 2);
    probability =
        half * (scaled_erfc(a / std::numbers::sqrt2) - fall * scaled_erfc(b / std::numbers::sqrt2));
    log_scale = -0.5 * a * a;
    at_a = 1;
    at_b = fall;
  } else {
    probability = std::sqrt(std::numbers::pi / 2) *
                  (std::erf(b / std::numbers::sqrt2) - std::erf(a / std::numbers::sqrt2));
    at_a = std::exp(-0.5 * a * a);
    at_b = std::exp(-0.5 * b * b);
  }
  probability = std::max(probability, 1e-300);
  const double shift = (at_a - at_b) / probability;
  const double spread = (a * at_a - b * at_b) / probability;
  RoundedNormal result;
  result.log_probability = std::log(probability) + log_scale - kLogRootTwoPi;
  const double variance = std::clamp(1 + spread - shift * shift, 0.0, 1.0);
  result.information = (1 - variance) / (sigma * sigma);
  result.variance = variance * sigma * sigma;
  const double sign = below ? -1 : 1;
  result.score = sign * shift / sigma;
  result.mean = mean + sign * shift * sigma;
  return result;
}

}  // namespace lab
