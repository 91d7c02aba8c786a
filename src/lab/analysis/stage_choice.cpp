#include "lab/analysis/stage_choice.h"

#include <cmath>

#include "lab/analysis/uncertainty.h"

namespace lab {

namespace {

constexpr int kMostStages = 4;
constexpr int kMostRungs = 6;

// How much better, by the criterion, the fit with more parameters is: above zero, it is worth them.
// What residuals are worth is judged by `judge`. If that is the simpler fit, what it misses makes
// them correlated, and that only asks for more evidence.
double gain(const FosterFit& simple, const FosterFit& rich, const FosterFit& judge,
            const Observed& observed) {
  const Eigen::VectorXd residuals = weighted_rows(observed.value - judge.fitted, observed);
  const double count = effective_count(static_cast<double>(residuals.size()), noise_of(residuals));
  const auto more = static_cast<double>(rich.slopes.cols() - simple.slopes.cols());
  // Squares that are rounding alone say nothing.
  const double floor = 1e-24 * (1 + observed.value.squaredNorm());
  return count * std::log((simple.squares + floor) / (rich.squares + floor)) -
         more * std::log(std::max(count, 2.0));
}

// Of a record that begins with its only change of heat, what a stage does of itself looks like what
// the heat makes it do: it can only be taken to begin settled.
Start start_to_look_for(const HeatCurve& curve) {
  const std::vector<HeatStep> steps = heat_steps(curve);
  return steps.size() == 1 && steps[0].time_s == 0 ? Start::settled : Start::unsettled;
}

// Whether each stage is known to be there. How well its time constant is known is another matter: a
// stage that is needed stays, or the others would be wrong.
bool distinct(const FosterFit& fit, const Observed& observed) {
  double all = 0;
  for (const double resistance : fit.resistance) {
    all += std::abs(resistance);
  }
  const Eigen::MatrixXd covariance = uncertainty(fit, observed).covariance;
  const std::size_t stages = fit.tau_s.size();
  for (std::size_t stage = 0; stage < stages; ++stage) {
    const auto at = static_cast<Eigen::Index>(stage);
    const double error = std::sqrt(covariance(1 + at, 1 + at));
    if (std::abs(fit.resistance[stage]) < 0.01 * all ||
        !(std::abs(fit.resistance[stage]) > 2 * error)) {
      return false;
    }
    if (stage > 0 && fit.tau_s[stage] < 1.5 * fit.tau_s[stage - 1]) {
      return false;
    }
  }
  return true;
}

}  // namespace

FosterFit choose_stages(const HeatCurve& curve, const Observed& observed,
                        const FosterStart& start) {
  const Start begin = start_to_look_for(curve);
  FosterFit best = foster_fit(curve, observed, start.one_more({}), begin);
  for (int stages = 2; stages <= kMostStages; ++stages) {
    FosterFit richer = foster_fit(curve, observed, start.one_more(best.tau_s), begin);
    if (stages == 2) {
      FosterFit afresh = foster_fit(curve, observed, start.two(), begin);
      if (afresh.squares < richer.squares) {
        richer = std::move(afresh);
      }
    }
    if (gain(best, richer, best, observed) <= 0 || !distinct(richer, observed)) {
      break;
    }
    best = std::move(richer);
  }
  if (begin == Start::settled) {
    return best;
  }
  FosterFit settled = foster_fit(curve, observed, best.tau_s, Start::settled);
  return gain(settled, best, settled, observed) > 0 ? best : settled;
}

FosterFit choose_rungs(const HeatCurve& curve, const Observed& observed, const FosterStart& start) {
  std::vector<FosterFit> fits;
  std::vector<double> tau_s;
  for (int stages = 1; stages <= kMostRungs; ++stages) {
    tau_s = start.one_more(tau_s);
    if (tau_s.size() < static_cast<std::size_t>(stages)) {
      break;
    }
    fits.push_back(foster_fit(curve, observed, tau_s, Start::settled));
    tau_s = fits.back().tau_s;
    if (stages > 1 && !distinct(fits.back(), observed)) {
      fits.pop_back();
    }
  }
  const FosterFit* best = &fits.front();
  for (const FosterFit& fit : fits) {
    if (gain(*best, fit, fits.back(), observed) > 0) {
      best = &fit;
    }
  }
  if (start_to_look_for(curve) == Start::settled) {
    return *best;
  }
  FosterFit unsettled = foster_fit(curve, observed, best->tau_s, Start::unsettled);
  return gain(*best, unsettled, unsettled, observed) > 0 ? unsettled : *best;
}

}  // namespace lab
