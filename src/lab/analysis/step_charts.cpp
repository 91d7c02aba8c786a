#include "lab/analysis/step_charts.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/impedance_curve.h"

namespace lab {

namespace {

constexpr double kMostOnAScreen = 2000;  // more than a screen has across

Series fitted(const KeyResult& result, double from_s, double to_s) {
  Series series{.name = result.name + " fitted", .x = {}, .y = {}, .low = {}, .high = {}};
  constexpr int kPoints = 200;
  Eigen::VectorXd gradient;
  for (int at = 0; at <= kPoints; ++at) {
    const double time_s = from_s * std::pow(to_s / from_s, static_cast<double>(at) / kPoints);
    const double z = fitted_impedance(result, time_s, gradient);
    const double half =
        result.factor * std::sqrt(std::max(gradient.dot(result.covariance * gradient), 0.0));
    series.x.push_back(time_s);
    series.y.push_back(z);
    series.low.push_back(z - half);
    series.high.push_back(z + half);
  }
  return series;
}

Series measured(const KeyResult& result, const HeatCurve& curve) {
  Series series{.name = result.name + " measured",
                .style = Series::Style::points,
                .x = {},
                .y = {},
                .low = {},
                .high = {}};
  for (const ImpedancePoint& point : measured_impedance(result, curve)) {
    series.x.push_back(point.time_s);
    series.y.push_back(point.impedance);
  }
  return series;
}

Series residuals(const KeyResult& result, const HeatCurve& curve) {
  Series series{.name = result.name, .x = {}, .y = {}, .low = {}, .high = {}};
  const auto together =
      static_cast<std::size_t>(std::ceil(static_cast<double>(curve.rows()) / kMostOnAScreen));
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
  double longest_s = 0;
  for (const HeatStep& step : heat_steps(curve)) {
    longest_s = std::max(longest_s, step.length_s);
  }
  for (const KeyResult& result : results) {
    if (result.stages.empty()) {
      continue;
    }
    const double from_s = result.fit.tau_s.front() / 10;
    const double to_s = std::max(3 * result.fit.tau_s.back(), longest_s);
    impedances.series.push_back(fitted(result, from_s, to_s));
    impedances.series.push_back(measured(result, curve));
    left.series.push_back(residuals(result, curve));
  }
  return {impedances, left};
}

}  // namespace lab
