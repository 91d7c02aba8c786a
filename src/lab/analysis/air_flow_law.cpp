#include "lab/analysis/air_flow_law.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "lab/analysis/quantile.h"

namespace lab {

namespace {

// Where each parameter stands in the vector.
enum Place : Eigen::Index { kAir, kStill, kForced, kExponent, kSeries, kAll };

struct LawFit {
  Eigen::VectorXd parameters;
  double squares = kInfinite;  // of what is left, in standard errors
  Eigen::MatrixXd inverse;     // of the normal matrix
};

double temperature(const Eigen::VectorXd& parameters, const CooledPoint& point) {
  const double conductance =
      std::exp(parameters[kStill]) +
      std::exp(parameters[kForced]) * std::pow(point.air_flow, std::exp(parameters[kExponent]));
  const double series = parameters.size() > kSeries ? parameters[kSeries] : 0;
  return parameters[kAir] + point.power * (series + 1 / conductance);
}

Eigen::VectorXd left_by(const Eigen::VectorXd& parameters, const std::vector<CooledPoint>& points) {
  Eigen::VectorXd left(static_cast<Eigen::Index>(points.size()));
  for (std::size_t at = 0; at < points.size(); ++at) {
    left[static_cast<Eigen::Index>(at)] =
        (points[at].temperature - temperature(parameters, points[at])) / points[at].error;
  }
  return left;
}

Eigen::MatrixXd slopes_of(const Eigen::VectorXd& parameters,
                          const std::vector<CooledPoint>& points) {
  constexpr double kStep = 1e-5;
  Eigen::MatrixXd slopes(static_cast<Eigen::Index>(points.size()), parameters.size());
  for (Eigen::Index at = 0; at < parameters.size(); ++at) {
    Eigen::VectorXd above = parameters;
    Eigen::VectorXd below = parameters;
    above[at] += kStep;
    below[at] -= kStep;
    slopes.col(at) = (left_by(below, points) - left_by(above, points)) / (2 * kStep);
  }
  return slopes;
}

LawFit fit_from(Eigen::VectorXd parameters, const std::vector<CooledPoint>& points) {
  constexpr int kRounds = 200;
  constexpr double kLeastDamping = 1e-12;
  double damping = 1e-3;
  Eigen::VectorXd left = left_by(parameters, points);
  for (int round = 0; round < kRounds && damping < 1e10; ++round) {
    const Eigen::MatrixXd slopes = slopes_of(parameters, points);
    Eigen::MatrixXd normal = slopes.transpose() * slopes;
    normal.diagonal() *= 1 + damping;
    normal.diagonal().array() += kLeastDamping;
    const Eigen::VectorXd tried = parameters + normal.ldlt().solve(slopes.transpose() * left);
    const Eigen::VectorXd tried_left = left_by(tried, points);
    if (tried_left.allFinite() && tried_left.squaredNorm() < left.squaredNorm()) {
      parameters = tried;
      left = tried_left;
      damping = std::max(kLeastDamping, damping / 5);
    } else {
      damping *= 4;
    }
  }
  const Eigen::MatrixXd slopes = slopes_of(parameters, points);
  const Eigen::MatrixXd normal = slopes.transpose() * slopes;
  return {.parameters = parameters,
          .squares = left.squaredNorm(),
          .inverse = normal.completeOrthogonalDecomposition().pseudoInverse()};
}

/// The best of several starts: conductances of the lowest and the highest speed, some exponents.
LawFit best_fit(const std::vector<CooledPoint>& points, Eigen::Index unknowns) {
  const auto by_power = [](const CooledPoint& one, const CooledPoint& two) {
    return one.power < two.power;
  };
  const CooledPoint coldest = *std::min_element(points.begin(), points.end(), by_power);
  double least = kInfinite;
  double most = 0;
  double air = coldest.temperature - coldest.power * 0.3;
  for (const CooledPoint& point : points) {
    if (point.power > 1.5 * coldest.power && std::abs(point.air_flow - coldest.air_flow) < 0.05) {
      air = coldest.temperature - coldest.power * (point.temperature - coldest.temperature) /
                                      (point.power - coldest.power);
    }
  }
  for (const CooledPoint& point : points) {
    const double conductance = point.power / std::max(0.1, point.temperature - air);
    if (point.power > 1.5 * coldest.power) {
      least = std::min(least, conductance);
      most = std::max(most, conductance);
    }
  }
  least = std::isfinite(least) ? least : 1;
  most = std::max(most, least * 1.1);
  LawFit best;
  for (const double exponent : {0.5, 0.8, 1.1}) {
    for (const double part : {0.1, 0.5, 0.9}) {
      Eigen::VectorXd start(unknowns);
      start[kAir] = air;
      start[kStill] = std::log(part * least);
      start[kForced] = std::log(most - part * least);
      start[kExponent] = std::log(exponent);
      if (unknowns > kSeries) {
        start[kSeries] = 0.2 / most;
      }
      const LawFit tried = fit_from(start, points);
      if (tried.squares < best.squares) {
        best = tried;
      }
    }
  }
  return best;
}

struct Errors {
  Eigen::VectorXd half;  // of 95 % intervals
};

Errors errors_of(const LawFit& fit, std::size_t points) {
  const double freedom =
      std::max(1.0, static_cast<double>(points) - static_cast<double>(fit.parameters.size()));
  const double raise = std::sqrt(std::max(1.0, fit.squares / freedom));
  return {two_sided_95(freedom) * raise * fit.inverse.diagonal().cwiseMax(0).cwiseSqrt()};
}

Estimate plain(const LawFit& fit, const Errors& errors, Eigen::Index at, const char* unit) {
  const double value = fit.parameters[at];
  return {value, value - errors.half[at], value + errors.half[at], unit};
}

Estimate of_logarithm(const LawFit& fit, const Errors& errors, Eigen::Index at, const char* unit) {
  const double value = std::exp(fit.parameters[at]);
  return {value, value * std::exp(-errors.half[at]), value * std::exp(errors.half[at]), unit};
}

}  // namespace

AirFlowLaw air_flow_law(const std::vector<CooledPoint>& points) {
  AirFlowLaw law;
  std::set<int> speeds;
  double least_power = kInfinite;
  double most_power = 0;
  for (const CooledPoint& point : points) {
    speeds.insert(static_cast<int>(std::lround(point.air_flow * 100)));
    least_power = std::min(least_power, point.power);
    most_power = std::max(most_power, point.power);
  }
  constexpr std::size_t kFewest = 4;
  if (speeds.size() < kFewest || points.size() < kFewest + 1 || most_power < 1.5 * least_power) {
    return law;
  }
  LawFit fit = best_fit(points, kSeries);
  if (speeds.size() > kFewest && points.size() > kFewest + 1) {
    const LawFit longer = best_fit(points, kAll);
    const Estimate series = plain(longer, errors_of(longer, points.size()), kSeries, "K/W");
    if (series.low > 0 && longer.squares < fit.squares) {
      fit = longer;
      law.series = true;
    }
  }
  const Errors errors = errors_of(fit, points.size());
  law.air = plain(fit, errors, kAir, "degC");
  law.still_conductance = of_logarithm(fit, errors, kStill, "W/K");
  law.forced_conductance = of_logarithm(fit, errors, kForced, "W/K");
  law.exponent = of_logarithm(fit, errors, kExponent, "");
  // Air that stands takes some heat. Where the fit wants none, a part of the way is of another
  // kind, such as a resistance in series that four speeds do not tell.
  constexpr double kLeastStill = 1e-3;
  constexpr double kMostExponent = 3;  // air does not: it is the errors that allow it
  law.known = fit.parameters.allFinite() && errors.half.allFinite() &&
              law.exponent.high < kMostExponent &&
              law.still_conductance.value > kLeastStill * law.forced_conductance.value;
  law.series_resistance =
      law.series ? plain(fit, errors, kSeries, "K/W") : Estimate{0, 0, 0, "K/W"};
  return law;
}

}  // namespace lab
