#include "lab/analysis/sweep_charts.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/sweep_words.h"

namespace lab {

namespace {

constexpr int kSteps = 100;  // of a law's curve

/// Of loads the names, in the order of the points; what else is swept has numbers.
std::vector<std::string> names_of_points(const SweepInput& input) {
  std::vector<std::string> names;
  for (const SweptPoint& point : input.points) {
    if (input.over == SweptSetting::load && !point.idle) {
      names.push_back(point.name);
    }
  }
  return names;
}

/// Where a point stands in a chart: its number, or its place among the names. The maximum is where
/// the fastest fan turns.
double place(const SweepInput& input, const std::vector<PointResult>& points, std::size_t point) {
  if (input.points[point].number) {
    return *input.points[point].number;
  }
  if (input.over == SweptSetting::load) {
    return static_cast<double>(std::count_if(
        input.points.begin(), input.points.begin() + static_cast<std::ptrdiff_t>(point),
        [](const SweptPoint& one) { return !one.idle; }));
  }
  const std::vector<const Column*> keys = swept_keys(input.samples);
  double fastest = 0;
  for (std::size_t key = 0; key < keys.size(); ++key) {
    if (keys[key]->unit == "RPM" && std::isfinite(points[point].keys[key].value.value)) {
      fastest = std::max(fastest, points[point].keys[key].value.value);
    }
  }
  return fastest;
}

Series empty(const std::string& name, Series::Style style) {
  return {.name = name, .style = style, .x = {}, .y = {}, .low = {}, .high = {}};
}

void add(Series& series, double x, const Estimate& estimate) {
  series.x.push_back(x);
  series.y.push_back(estimate.value);
  series.low.push_back(estimate.low);
  series.high.push_back(estimate.high);
}

Chart settled_chart(const SweepInput& input, const std::vector<PointResult>& points,
                    const std::string& unit, const char* title, const char* label) {
  Chart chart{.title = title,
              .x_label = setting_heading(input.over),
              .y_label = label,
              .x_names = names_of_points(input),
              .series = {},
              .note = {}};
  const std::vector<const Column*> keys = swept_keys(input.samples);
  for (std::size_t key = 0; key < keys.size(); ++key) {
    if (keys[key]->unit != unit) {
      continue;
    }
    Series series = empty(keys[key]->name, Series::Style::points);
    for (std::size_t at = 0; at < points.size(); ++at) {
      if (!input.points[at].idle && points[at].keys[key].settled) {
        add(series, place(input, points, at), points[at].keys[key].value);
      }
    }
    if (!series.x.empty()) {
      chart.series.push_back(series);
    }
  }
  return chart;
}

Chart cooling_chart(const SweepInput& input, const SweepLaws& laws) {
  Chart chart{.title = "Thermal resistance",
              .x_label = "speed of all fans, as a part of the highest one",
              .y_label = "K/W from the air",
              .series = {},
              .note = "Points are measured, lines are the law through them."};
  for (const CoolingOfKey& cooling : laws.cooling) {
    if (!cooling.law.known) {
      continue;
    }
    Series measured = empty(cooling.name + " measured", Series::Style::points);
    double least = 1;
    for (std::size_t at = 0; at < laws.air_flow.size(); ++at) {
      if (!input.points[at].idle && std::isfinite(cooling.resistance[at].value)) {
        add(measured, laws.air_flow[at], cooling.resistance[at]);
        least = std::min(least, laws.air_flow[at]);
      }
    }
    Series fitted = empty(cooling.name + " fitted", Series::Style::line);
    for (int step = 0; step <= kSteps; ++step) {
      const double flow = least + (1 - least) * step / kSteps;
      fitted.x.push_back(flow);
      fitted.y.push_back(
          cooling.law.series_resistance.value +
          1 / (cooling.law.still_conductance.value +
               cooling.law.forced_conductance.value * std::pow(flow, cooling.law.exponent.value)));
    }
    chart.series.push_back(fitted);
    chart.series.push_back(measured);
  }
  return chart;
}

Chart efficiency_chart(const SweepInput& input, const std::vector<PointResult>& points) {
  Chart chart{.title = "Work for each joule",
              .x_label = setting_heading(input.over),
              .y_label = "operations for each joule",
              .x_names = names_of_points(input),
              .series = {},
              .note = {}};
  Series series = empty("all loads", Series::Style::points);
  for (std::size_t at = 0; at < points.size(); ++at) {
    if (!input.points[at].idle && points[at].operations_per_joule) {
      add(series, place(input, points, at), *points[at].operations_per_joule);
    }
  }
  if (!series.x.empty()) {
    chart.series.push_back(series);
  }
  return chart;
}

}  // namespace

std::vector<Chart> sweep_charts(const SweepInput& input, const std::vector<PointResult>& points,
                                const SweepLaws& laws) {
  std::vector<Chart> charts{
      cooling_chart(input, laws), settled_chart(input, points, "W", "Power", "W"),
      settled_chart(input, points, "degC", "Temperatures", "°C"), efficiency_chart(input, points)};
  std::erase_if(charts, [](const Chart& chart) { return chart.series.empty(); });
  return charts;
}

}  // namespace lab
