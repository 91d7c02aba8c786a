#include "lab/analysis/foster_fit.h"

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>
#include <numeric>

#include "lab/analysis/stage_response.h"

namespace lab {

namespace {

constexpr int kMostRounds = 30;
constexpr double kEnough = 1e-7;  // of the squares: far below what noise does to them

// A time constant outside of what a record can show only makes the search wander.
struct Bounds {
  double least = 0;
  double most = 0;
};

Bounds bounds_of(const HeatCurve& curve) {
  const double length_s = std::max(curve.time_s.back(), 1e-9);
  double step_s = length_s / static_cast<double>(std::max<std::size_t>(curve.rows(), 2));
  if (curve.widest_fast_s > 0) {  // a record may be much denser behind a change of heat
    step_s = std::min(step_s, curve.widest_fast_s);
  }
  return {.least = std::log(0.05 * step_s), .most = std::log(10 * length_s)};
}

// Solves the normal equations with columns scaled to one; columns that say nothing get nothing.
Eigen::VectorXd solve_normal(Eigen::MatrixXd squares, Eigen::VectorXd right, double damping) {
  const Eigen::VectorXd scale = squares.diagonal().cwiseMax(1e-300).cwiseSqrt();
  squares = scale.cwiseInverse().asDiagonal() * squares * scale.cwiseInverse().asDiagonal();
  squares.diagonal().array() += damping + 1e-12;
  right = right.cwiseQuotient(scale);
  return squares.ldlt().solve(right).cwiseQuotient(scale);
}

// By ln tau of a stage whose linear parameters are known.
void set_slope(FosterFit& fit, std::size_t stage, const StageResponse& response) {
  auto slope = fit.slopes.col(fit.slopes.cols() - static_cast<Eigen::Index>(fit.tau_s.size()) +
                              static_cast<Eigen::Index>(stage));
  if (fit.given[stage]) {
    slope.setZero();
    return;
  }
  slope = fit.resistance[stage] * response.rise_slope;
  if (!fit.offset.empty()) {
    slope += fit.offset[stage] * response.decay_slope;
  }
}

// The linear parameters for given time constants; then the temperature and its slopes.
void project(const HeatCurve& curve, const Observed& observed, Start start, FosterFit& fit) {
  const std::size_t stages = fit.tau_s.size();
  const auto rows = static_cast<Eigen::Index>(curve.rows());
  const auto count = static_cast<Eigen::Index>(stages);
  const bool offsets = start == Start::unsettled;
  const Eigen::Index linear = 1 + (offsets ? 2 : 1) * count;
  fit.slopes.resize(rows, linear + count);
  fit.slopes.col(0).setOnes();
  std::vector<StageResponse> responses;
  for (std::size_t stage = 0; stage < stages; ++stage) {
    responses.push_back(stage_response(curve, fit.tau_s[stage]));
    const auto at = static_cast<Eigen::Index>(stage);
    fit.slopes.col(1 + at) = responses.back().rise;
    if (offsets) {
      fit.slopes.col(1 + count + at) = responses.back().decay;
    }
  }
  const auto basis = fit.slopes.leftCols(linear);
  const Eigen::MatrixXd weighted = observed.weight.asDiagonal() * basis;
  const Eigen::VectorXd solved =
      solve_normal(weighted.transpose() * basis, weighted.transpose() * observed.value, 0);
  fit.start = solved[0];
  fit.resistance.resize(stages);
  fit.offset.resize(offsets ? stages : 0);
  for (std::size_t stage = 0; stage < stages; ++stage) {
    const auto at = static_cast<Eigen::Index>(stage);
    fit.resistance[stage] = solved[1 + at];
    if (offsets) {
      fit.offset[stage] = solved[1 + count + at];
    }
    set_slope(fit, stage, responses[stage]);
  }
  fit.fitted = basis * solved;
  fit.squares = (observed.value - fit.fitted).cwiseAbs2().dot(observed.weight);
}

std::vector<double> moved(const FosterFit& fit, const Eigen::VectorXd& by, const Bounds& bounds) {
  std::vector<double> result = fit.tau_s;
  for (std::size_t stage = 0; stage < result.size(); ++stage) {
    // More than a factor of e at once is beyond what the slopes at one point say.
    const double step = std::clamp(by[static_cast<Eigen::Index>(stage)], -1.0, 1.0);
    if (!fit.given[stage]) {
      result[stage] =
          std::exp(std::clamp(std::log(result[stage]) + step, bounds.least, bounds.most));
    }
  }
  return result;
}

void put_in_order(FosterFit& fit, const std::vector<double>& given_s) {
  std::sort(fit.tau_s.begin(), fit.tau_s.end());
  fit.given.clear();
  for (const double tau_s : fit.tau_s) {
    fit.given.push_back(std::find(given_s.begin(), given_s.end(), tau_s) != given_s.end());
  }
}

}  // namespace

void evaluate(const HeatCurve& curve, const Observed& observed, FosterFit& fit) {
  const auto rows = static_cast<Eigen::Index>(curve.rows());
  const auto count = static_cast<Eigen::Index>(fit.tau_s.size());
  const bool offsets = !fit.offset.empty();
  const Eigen::Index linear = 1 + (offsets ? 2 : 1) * count;
  fit.slopes.resize(rows, linear + count);
  fit.slopes.col(0).setOnes();
  fit.fitted = Eigen::VectorXd::Constant(rows, fit.start);
  for (std::size_t stage = 0; stage < fit.tau_s.size(); ++stage) {
    const StageResponse response = stage_response(curve, fit.tau_s[stage]);
    const auto at = static_cast<Eigen::Index>(stage);
    fit.slopes.col(1 + at) = response.rise;
    fit.fitted += fit.resistance[stage] * response.rise;
    if (offsets) {
      fit.slopes.col(1 + count + at) = response.decay;
      fit.fitted += fit.offset[stage] * response.decay;
    }
    set_slope(fit, stage, response);
  }
  fit.squares = (observed.value - fit.fitted).cwiseAbs2().dot(observed.weight);
}

FosterFit foster_fit(const HeatCurve& curve, const Observed& observed, std::vector<double> tau_s,
                     Start start, std::vector<double> given_s) {
  FosterFit best;
  best.tau_s = std::move(tau_s);
  best.tau_s.insert(best.tau_s.end(), given_s.begin(), given_s.end());
  put_in_order(best, given_s);
  const Bounds bounds = bounds_of(curve);
  const auto stages = static_cast<Eigen::Index>(best.tau_s.size());
  project(curve, observed, start, best);
  double damping = 1e-4;
  for (int round = 0; round < kMostRounds && damping < 1e6; ++round) {
    const Eigen::MatrixXd weighted = observed.weight.asDiagonal() * best.slopes;
    const Eigen::VectorXd by =
        solve_normal(weighted.transpose() * best.slopes,
                     weighted.transpose() * (observed.value - best.fitted), damping)
            .tail(stages);
    FosterFit next;
    next.given = best.given;
    next.tau_s = moved(best, by, bounds);
    project(curve, observed, start, next);
    if (!(next.squares < best.squares)) {
      damping *= 10;
      continue;
    }
    const double gained = best.squares - next.squares;
    best = std::move(next);
    damping /= 10;
    if (gained <= kEnough * best.squares) {
      break;
    }
  }
  // The search may have passed one time constant beside another.
  if (!std::is_sorted(best.tau_s.begin(), best.tau_s.end())) {
    put_in_order(best, given_s);
    project(curve, observed, start, best);
  }
  return best;
}

}  // namespace lab
