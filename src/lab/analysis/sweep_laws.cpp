#include "lab/analysis/sweep_laws.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace lab {

namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

std::optional<std::size_t> place_of(const std::vector<const Column*>& keys,
                                    const std::string& name) {
  const auto found =
      std::find_if(keys.begin(), keys.end(), [&](const Column* key) { return key->name == name; });
  return found == keys.end() ? std::nullopt
                             : std::optional(static_cast<std::size_t>(found - keys.begin()));
}

/// The speeds of all fans together at each point, as a part of the highest sum.
std::vector<double> air_flow_of(const std::vector<const Column*>& keys,
                                const std::vector<PointResult>& points, double& highest) {
  std::vector<double> flow;
  for (const PointResult& point : points) {
    double sum = 0;
    for (std::size_t at = 0; at < keys.size(); ++at) {
      if (keys[at]->unit == "RPM") {
        sum += point.keys[at].value.value;
      }
    }
    flow.push_back(sum);
    highest = std::max(highest, sum);
  }
  for (double& one : flow) {
    one = highest > 0 ? one / highest : kUnknown;
  }
  return flow;
}

void add_load_line(const std::vector<const Column*>& keys, const std::vector<PointResult>& points,
                   std::size_t power, SweepLaws& laws) {
  std::vector<LinePoint> line;
  for (const PointResult& point : points) {
    if (point.keys[power].settled && std::isfinite(point.delivered)) {
      const Estimate& watts = point.keys[power].value;
      line.push_back({point.delivered, watts.value, standard_error(watts)});
    }
  }
  laws.load_line = straight_line(line, "W", "W");
  for (std::size_t at = 0; at < keys.size(); ++at) {
    if (keys[at]->unit != "degC") {
      continue;
    }
    std::vector<LinePoint> rise;
    for (const PointResult& point : points) {
      if (point.keys[at].settled && point.keys[power].settled) {
        rise.push_back({point.keys[power].value.value, point.keys[at].value.value,
                        standard_error(point.keys[at].value)});
      }
    }
    laws.rises.push_back({keys[at]->name, straight_line(rise, "degC", "K/W")});
  }
}

CoolingOfKey cooling_of(const std::string& name, const std::vector<PointResult>& points,
                        std::size_t key, std::size_t power, const std::vector<double>& flow) {
  std::vector<CooledPoint> cooled;
  for (std::size_t at = 0; at < points.size(); ++at) {
    const KeyAtPoint& temperature = points[at].keys[key];
    const KeyAtPoint& watts = points[at].keys[power];
    if (temperature.settled && watts.settled && std::isfinite(flow[at])) {
      // What is not known of the power is not known of the rise either.
      const double rise = std::abs(temperature.value.value - points.front().keys[key].value.value);
      const double of_power = standard_error(watts.value) / watts.value.value * rise;
      cooled.push_back({.temperature = temperature.value.value,
                        .error = std::hypot(standard_error(temperature.value), of_power),
                        .power = watts.value.value,
                        .air_flow = flow[at]});
    }
  }
  CoolingOfKey cooling{.name = name, .law = air_flow_law(cooled), .resistance = {}};
  for (const PointResult& point : points) {
    const Estimate& temperature = point.keys[key].value;
    const Estimate& watts = point.keys[power].value;
    Estimate resistance{kUnknown, kUnknown, kUnknown, "K/W"};
    if (cooling.law.known && point.keys[key].settled && point.keys[power].settled) {
      const Estimate& air = cooling.law.air;
      const double value = (temperature.value - air.value) / watts.value;
      const double half = kIntervalFactor * std::hypot(standard_error(temperature) / watts.value,
                                                       standard_error(air) / watts.value,
                                                       value * standard_error(watts) / watts.value);
      resistance = {value, value - half, value + half, "K/W"};
    }
    cooling.resistance.push_back(resistance);
  }
  return cooling;
}

}  // namespace

double standard_error(const Estimate& estimate) {
  constexpr double kLeast = 1e-6;
  const double half = (estimate.high - estimate.low) / 2 / kIntervalFactor;
  return std::max(half, kLeast * std::max(1.0, std::abs(estimate.value)));
}

SweepLaws sweep_laws(const SweepInput& input, const std::vector<PointResult>& points) {
  SweepLaws laws;
  const std::vector<const Column*> keys = swept_keys(input.samples);
  const std::optional<std::size_t> power = place_of(keys, input.power);
  if (input.over != SweptSetting::fans) {
    laws.dynamic = dynamic_power(input);
  }
  if (!power) {
    return laws;
  }
  if (input.over == SweptSetting::duty) {
    add_load_line(keys, points, *power, laws);
  }
  if (input.over == SweptSetting::fans) {
    laws.air_flow = air_flow_of(keys, points, laws.highest_rpm);
    for (std::size_t at = 0; at < keys.size(); ++at) {
      if (keys[at]->unit == "degC") {
        laws.cooling.push_back(cooling_of(keys[at]->name, points, at, *power, laws.air_flow));
      }
    }
  }
  return laws;
}

}  // namespace lab
