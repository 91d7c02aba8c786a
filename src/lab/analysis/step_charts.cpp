#include "lab/analysis/step_charts.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace lab {

namespace {

constexpr double kMostPoints = 2000;  // more than a screen has across

// Z_th at a time after a step, with its gradient by (start, resistances, offsets, ln tau).
double impedance(const KeyResult& result, double time_s, Eigen::VectorXd& gradient) {
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

Series fitted(const KeyResult& result, double from_s, double to_s) {
  Series series{.name = result.name + " fitted", .x = {}, .y = {}, .low = {}, .high = {}};
  constexpr int kPoints = 200;
  Eigen::VectorXd gradient;
  for (int at = 0; at <= kPoints; ++at) {
    const double time_s = from_s * std::pow(to_s / from_s, static_cast<double>(at) / kPoints);
    const double z = impedance(result, time_s, gradient);
    const double half =
        result.factor * std::sqrt(std::max(gradient.dot(result.covariance * gradient), 0.0));
    series.x.push_back(time_s);
    series.y.push_back(z);
    series.low.push_back(z - half);
    series.high.push_back(z + half);
  }
  return series;
}

Series measured(const KeyResult& result, const HeatCurve& curve,
                const std::vector<HeatStep>& steps) {
  struct Sum {
    double log_time = 0;
    double z = 0;
    double count = 0;
  };
  constexpr double kToADecade = 15;
  std::map<int, Sum> bins;
  Eigen::VectorXd gradient;
  for (const HeatStep& step : steps) {
    auto row = static_cast<std::size_t>(
        std::upper_bound(curve.time_s.begin(), curve.time_s.end(), step.time_s) -
        curve.time_s.begin());
    for (; row < curve.rows() && curve.time_s[row] <= step.time_s + step.length_s; ++row) {
      const auto at = static_cast<Eigen::Index>(row);
      const double since_s = curve.time_s[row] - step.time_s;
      if (result.observed.weight[at] > 0 && since_s > 0) {
        const double left = result.observed.value[at] - result.fit.fitted[at];
        Sum& sum = bins[static_cast<int>(std::floor(std::log10(since_s) * kToADecade))];
        sum.log_time += std::log(since_s);
        sum.z += impedance(result, since_s, gradient) + left / step.change;
        sum.count += 1;
      }
    }
  }
  Series series{.name = result.name + " measured",
                .style = Series::Style::points,
                .x = {},
                .y = {},
                .low = {},
                .high = {}};
  for (const auto& [bin, sum] : bins) {
    series.x.push_back(std::exp(sum.log_time / sum.count));
    series.y.push_back(sum.z / sum.count);
  }
  return series;
}

Series residuals(const KeyResult& result, const HeatCurve& curve) {
  Series series{.name = result.name, .x = {}, .y = {}, .low = {}, .high = {}};
  const auto together =
      static_cast<std::size_t>(std::ceil(static_cast<double>(curve.rows()) / kMostPoints));
  for (std::size_t begin = 0; begin < curve.rows(); begin += together) {
    double time_sum = 0;
    double left = 0;
    double count = 0;
    for (std::size_t row = begin; row < std::min(begin + together, curve.rows()); ++row) {
      const auto at = static_cast<Eigen::Index>(row);
      if (result.observed.weight[at] > 0) {
        time_sum += curve.time_s[row];
        left += result.observed.value[at] - result.fit.fitted[at];
        count += 1;
      }
    }
    if (count > 0) {
      series.x.push_back(time_sum / count);
      series.y.push_back(left / count);
    }
  }
  return series;
}

}  // namespace

std::vector<Chart> step_charts(const std::vector<KeyResult>& results, const HeatCurve& curve,
                               bool heat_is_power) {
  Chart impedances{.title = "Thermal impedance",
                   .x_label = "time after a step of heat, s",
                   .y_label = heat_is_power ? "Z_th, K/W" : "rise for full load, K",
                   .x_scale = Chart::Scale::logarithmic,
                   .series = {},
                   .note =
                       "Each shoulder is a stage; the last level is the resistance. Points "
                       "that leave the line are what the stages do not describe."};
  Chart left{.title = "Residuals",
             .x_label = "time, s",
             .y_label = "measured less fitted, K",
             .over_time = true,
             .series = {},
             .note =
                 "What the fit leaves. A slow wave in it is something that changed the "
                 "temperature beside the heat."};
  const std::vector<HeatStep> steps = heat_steps(curve);
  double longest_s = 0;
  for (const HeatStep& step : steps) {
    longest_s = std::max(longest_s, step.length_s);
  }
  for (const KeyResult& result : results) {
    if (result.stages.empty()) {
      continue;
    }
    const double from_s = result.fit.tau_s.front() / 10;
    const double to_s = std::max(3 * result.fit.tau_s.back(), longest_s);
    impedances.series.push_back(fitted(result, from_s, to_s));
    impedances.series.push_back(measured(result, curve, steps));
    left.series.push_back(residuals(result, curve));
  }
  return {impedances, left};
}

}  // namespace lab
