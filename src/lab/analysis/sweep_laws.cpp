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

/// Whether a temperature answers to the sweep at all. The air does not, and no heat goes to it.
bool moves(const std::vector<PointResult>& points, std::size_t key) {
  constexpr double kErrors = 5;
  double least = std::numeric_limits<double>::infinity();
  double most = -least;
  double error = 0;
  for (const PointResult& point : points) {
    if (point.visits > 0 && point.keys[key].settled) {
      const Estimate& value = point.keys[key].value;
      least = std::min(least, value.value);
      most = std::max(most, value.value);
      error = std::max(error, standard_error(value));
    }
  }
  return most - least > kErrors * error;
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

/// How much the machine and the engine's other threads do while there is no load, as a part of all
/// processors' time.
double own_work(const SweepInput& input) {
  // A tool's own threads take about the least; where more is seen, a part of it may be work that
  // draws as much as the load.
  constexpr double kLeast = 0.002;
  constexpr double kMost = 0.005;
  const Column* others = input.samples.find(kOthersColumn);
  double sum = 0;
  double count = 0;
  for (const SweepVisit& visit : input.visits) {
    for (std::size_t row = visit.first_row; others != nullptr && row < visit.end_row; ++row) {
      if (input.points[visit.point].idle && std::isfinite(others->values[row])) {
        sum += others->values[row];
        count += 1;
      }
    }
  }
  return std::clamp(count > 0 ? sum / count : kMost, kLeast, kMost);
}

/// What the machine does by itself goes with the P-state as well. Without load it was seen at one
/// of them only: at a slower one it is less, and the difference is missing from the load's power.
void allow_for_own_work(const SweepInput& input, const std::vector<PointResult>& points,
                        DynamicPower& dynamic) {
  const auto idle = std::find_if(input.points.begin(), input.points.end(),
                                 [](const SweptPoint& point) { return point.idle; });
  const auto loaded = std::find_if(input.points.begin(), input.points.end(), [&](const auto& one) {
    return idle != input.points.end() && !one.idle && one.name == idle->name;
  });
  if (!dynamic.known || loaded == input.points.end()) {
    return;
  }
  const double at_idle =
      dynamic.full_load[static_cast<std::size_t>(loaded - input.points.begin())].value;
  const double part = own_work(input);
  for (std::size_t at = 0; at < dynamic.full_load.size(); ++at) {
    Estimate& power = dynamic.full_load[at];
    if (!input.points[at].idle && points[at].delivered > 0) {
      const double missing = part * (at_idle - power.value) / points[at].delivered;
      (missing > 0 ? power.high : power.low) += missing;
    }
  }
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
  if (input.over == SweptSetting::pstate) {
    allow_for_own_work(input, points, laws.dynamic);
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
      if (keys[at]->unit == "degC" && moves(points, at)) {
        laws.cooling.push_back(cooling_of(keys[at]->name, points, at, *power, laws.air_flow));
      }
    }
  }
  return laws;
}

}  // namespace lab
