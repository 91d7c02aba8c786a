#include "lab/analysis/prove_charts.h"

#include <algorithm>
#include <cmath>

namespace lab {

namespace {

constexpr double kLeast_us = 0.1;  // what a logarithmic axis shows of earlier ones

/// Which part of all is later than each time. As many points as a curve needs: more of them where
/// few are late.
Series later_than(const char* name, const Spread& spread) {
  Series series{
      .name = name, .style = Series::Style::steps, .x = {}, .y = {}, .low = {}, .high = {}};
  const std::size_t count = spread.count();
  constexpr std::size_t kDense = 200;
  std::size_t apart = std::max<std::size_t>(1, count / kDense);
  for (std::size_t at = 0; at < spread.sorted().size(); at += apart) {
    const std::size_t later = count - at;
    apart = std::max<std::size_t>(1, std::min(apart, later / kDense));
    series.x.push_back(std::max(kLeast_us, spread.sorted()[at]));
    series.y.push_back(static_cast<double>(later) / static_cast<double>(count));
  }
  return series;
}

}  // namespace

std::vector<Chart> prove_charts(const Proof& proof) {
  Chart late{.title = "How late, and how often",
             .x_label = "time behind the plan, us",
             .y_label = "part that is later",
             .x_scale = Chart::Scale::logarithmic,
             .y_scale = Chart::Scale::logarithmic,
             .series = {},
             .note =
                 "The floor is what waking up takes on this machine without load. A curve that "
                 "lies on it is as good as the machine; at 0.01 is what 99 of 100 keep within."};
  const auto add = [&](const char* name, const Spread& spread) {
    if (!spread.sorted().empty()) {
      late.series.push_back(later_than(name, spread));
    }
  };
  add("wake-up floor", proof.floor.on);
  add("on edges", proof.square.on);
  add("off edges", proof.square.off);
  add("skew", proof.square.skew);
  if (proof.kernel) {
    add("on edges, kernel's trace", proof.kernel->wave.on);
    add("off edges, kernel's trace", proof.kernel->wave.off);
  }
  Chart rises{.title = "Powers after a step of the load",
              .x_label = "time after the step, s",
              .y_label = "part of the way",
              .series = {},
              .note =
                  "Where the curve takes time, the sensor does: faster swings of the power "
                  "are smaller in it than they are."};
  for (const SensorReach& sensor : proof.sensors) {
    if (sensor.rise) {
      rises.series.push_back({.name = sensor.name,
                              .x = sensor.rise->since_s,
                              .y = sensor.rise->way,
                              .low = {},
                              .high = {}});
    }
  }
  std::vector<Chart> charts;
  for (Chart* chart : {&late, &rises}) {
    if (!chart->series.empty()) {
      charts.push_back(std::move(*chart));
    }
  }
  return charts;
}

}  // namespace lab
