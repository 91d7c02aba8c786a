#include "lab/analysis/impedance_curve.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace lab {

double fitted_impedance(const KeyResult& result, double time_s, Eigen::VectorXd& gradient) {
  const auto stages = static_cast<Eigen::Index>(result.fit.tau_s.size());
  gradient = Eigen::VectorXd::Zero(result.covariance.rows());
  double sum = 0;
  for (Eigen::Index at = 0; at < stages; ++at) {
    const auto stage = static_cast<std::size_t>(at);
    const double u = time_s / result.fit.tau_s[stage];
    const double rise = -std::expm1(-u);
    sum += result.fit.resistance[stage] * rise;
    gradient[1 + at] = rise;
    gradient[gradient.size() - stages + at] = -result.fit.resistance[stage] * u * std::exp(-u);
  }
  return sum;
}

std::vector<ImpedancePoint> measured_impedance(const KeyResult& result, const HeatCurve& curve) {
  struct Sum {
    double log_time = 0;
    double z = 0;
    double count = 0;
  };
  constexpr double kToADecade = 15;
  // Instants of steps are sums of many spans: a row that ends with a step may seem to come after
  // it.
  const double rounding_s = 1e-9 * curve.time_s.back();
  std::map<int, Sum> bins;
  Eigen::VectorXd gradient;
  for (const HeatStep& step : heat_steps(curve)) {
    auto row = static_cast<std::size_t>(
        std::upper_bound(curve.time_s.begin(), curve.time_s.end(), step.time_s) -
        curve.time_s.begin());
    for (; row < curve.rows() && curve.time_s[row] <= step.time_s + step.length_s; ++row) {
      const auto at = static_cast<Eigen::Index>(row);
      const double since_s = curve.time_s[row] - step.time_s;
      if (result.observed.weight[at] > 0 && since_s > rounding_s) {
        const double left = result.observed.value[at] - result.fit.fitted[at];
        Sum& sum = bins[static_cast<int>(std::floor(std::log10(since_s) * kToADecade))];
        sum.log_time += std::log(since_s);
        sum.z += fitted_impedance(result, since_s, gradient) + left / step.change;
        sum.count += 1;
      }
    }
  }
  std::vector<ImpedancePoint> points;
  points.reserve(bins.size());
  for (const auto& [bin, sum] : bins) {
    points.push_back({.time_s = std::exp(sum.log_time / sum.count),
                      .impedance = sum.z / sum.count,
                      .count = sum.count});
  }
  return points;
}

}  // namespace lab
