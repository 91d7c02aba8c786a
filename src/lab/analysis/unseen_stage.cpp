#include "lab/analysis/unseen_stage.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "lab/analysis/uncertainty.h"

namespace lab {

namespace {

// A further stage, and half of its 95 % interval. Infinite if the fit cannot tell.
struct FurtherStage {
  double resistance = kInfinite;
  double half = kInfinite;

  double most() const { return std::abs(resistance) + half; }
};

// Fits a stage of this time constant beside those that were found, whose time constants are
// searched for again or stay.
FurtherStage further_stage(const HeatCurve& curve, const KeyResult& result, double tau_s,
                           bool search_again) {
  const std::vector<double>& found_s = result.fit.tau_s;
  std::vector<double> given_s{tau_s};
  if (!search_again) {
    given_s.insert(given_s.begin(), found_s.begin(), found_s.end());
  }
  const Start start = result.fit.offset.empty() ? Start::settled : Start::unsettled;
  const FosterFit fit =
      foster_fit(curve, result.observed, search_again ? found_s : std::vector<double>{}, start,
                 std::move(given_s));
  const auto further = std::find(fit.tau_s.begin(), fit.tau_s.end(), tau_s) - fit.tau_s.begin();
  // Parameters: the start, then the resistances.
  const Eigen::Index at = 1 + further;
  const Eigen::MatrixXd covariance = uncertainty(fit, result.observed).covariance;
  if (fit.tau_s.size() != found_s.size() + 1 || covariance.rows() <= at) {
    return {};
  }
  const double half = result.factor * std::sqrt(covariance(at, at));
  if (!std::isfinite(half)) {
    return {};
  }
  return {.resistance = fit.resistance[static_cast<std::size_t>(further)], .half = half};
}

}  // namespace

double unseen_resistance(const HeatCurve& curve, const KeyResult& result) {
  const std::vector<HeatStep> steps = heat_steps(curve);
  const double after_s = curve.time_s.back() - (steps.empty() ? 0 : steps.front().time_s);
  if (result.fit.tau_s.empty() || !(after_s > result.fit.tau_s.back())) {
    return kInfinite;
  }
  const double possible = further_stage(curve, result, after_s, false).most();
  const FurtherStage shown = further_stage(curve, result, 3 * after_s, true);
  const bool clear = std::abs(shown.resistance) > 1.5 * shown.half;  // three standard errors
  return clear ? std::max(possible, shown.most()) : possible;
}

}  // namespace lab
