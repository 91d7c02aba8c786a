#pragma once

#include <string>
#include <vector>

#include "lab/analysis/air_flow_law.h"
#include "lab/analysis/dynamic_power.h"
#include "lab/analysis/straight_line.h"
#include "lab/analysis/sweep_points.h"

namespace lab {

/// A temperature and the law that it follows over fan speed.
struct CoolingOfKey {
  std::string name;
  AirFlowLaw law;
  std::vector<Estimate> resistance;  ///< of each point, K/W; NaN: not known
};

/// A temperature and the line that it follows over power.
struct RiseOfKey {
  std::string name;
  StraightLine line;
};

/// What lies behind the points of a sweep, as far as it can be told.
struct SweepLaws {
  StraightLine load_line;             ///< of duty: power over delivered load
  std::vector<RiseOfKey> rises;       ///< of duty
  std::vector<CoolingOfKey> cooling;  ///< of fans: of the temperatures that move
  std::vector<double> air_flow;       ///< of fans, each point: part of the highest speed
  double highest_rpm = 0;             ///< all fans together
  DynamicPower dynamic;               ///< of all but fans
};

/// The laws for what the sweep goes over, from points as measured_points() gives them; what cannot
/// be told is not known. Sources: straight_line.h, air_flow_law.h, dynamic_power.h.
SweepLaws sweep_laws(const SweepInput& input, const std::vector<PointResult>& points);

/// The standard error of an estimate, never quite 0.
double standard_error(const Estimate& estimate);

}  // namespace lab
