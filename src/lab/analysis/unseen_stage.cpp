#include "lab/analysis/unseen_stage.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/analysis/uncertainty.h"

namespace lab {

double unseen_resistance(const HeatCurve& curve, const KeyResult& result) {
  const std::vector<HeatStep> steps = heat_steps(curve);
  const double after_s = curve.time_s.back() - (steps.empty() ? 0 : steps.front().time_s);
  std::vector<double> given_s = result.fit.tau_s;
  if (given_s.empty() || !(after_s > given_s.back())) {
    return kInfinite;
  }
  given_s.push_back(after_s);
  const Start start = result.fit.offset.empty() ? Start::settled : Start::unsettled;
  const FosterFit fit = foster_fit(curve, result.observed, {}, start, given_s);
  // Parameters: the start, then the resistances, this one the last of them.
  const auto at = static_cast<Eigen::Index>(fit.resistance.size());
  const Eigen::MatrixXd covariance = uncertainty(fit, result.observed).covariance;
  if (fit.resistance.size() != given_s.size() || covariance.rows() <= at) {
    return kInfinite;
  }
  const double half = result.factor * std::sqrt(covariance(at, at));
  return std::isfinite(half) ? std::abs(fit.resistance.back()) + half : kInfinite;
}

}  // namespace lab
