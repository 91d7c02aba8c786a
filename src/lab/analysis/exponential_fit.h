#pragma once

#include <limits>
#include <vector>

namespace lab {

/// A value, or the mean of some, and when it was.
struct FitPoint {
  double since_s = 0;
  double value = 0;
};

/// The best final value and height of last + height exp(-since / tau) for one time constant.
struct ExponentialFit {
  double tau_s = 0;
  double squares = std::numeric_limits<double>::infinity();  ///< of what it leaves
  double last = 0;
  double height = 0;       ///< at since 0
  double gain = 0;         ///< variance of `last` for a variance of 1 of a point
  double height_gain = 0;  ///< that of `height`
};

/// Linear least squares; a tau of 0 is a value that does not change. Requires: a point.
ExponentialFit fit_exponential(const std::vector<FitPoint>& points, double tau_s);

/// The fits of a grid of time constants from `least_s` to `most_s`, finer near the best one.
/// Requires: 0 < least_s <= most_s, a point.
std::vector<ExponentialFit> fit_exponentials(const std::vector<FitPoint>& points, double least_s,
                                             double most_s);

/// The one that leaves least. Requires: one at least.
const ExponentialFit& best_of(const std::vector<ExponentialFit>& fits);

/// By how much neighbours that resemble each other raise the variance of a fit.
/// Source: n (1 - rho) / (1 + rho), as in noise.h, for the few values that there are.
double inflation(const std::vector<FitPoint>& points, const ExponentialFit& best);

}  // namespace lab
