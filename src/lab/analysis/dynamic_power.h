#pragma once

#include <span>
#include <string>
#include <vector>

#include "lab/analysis/sweep_points.h"

namespace lab {

/// What the load draws at each point, apart from what the machine draws without it.
struct DynamicPower {
  bool known = false;
  std::vector<Estimate> full_load;  ///< for each point, W: of all processors; idle ones are 0
};

/// Parts the power of a sweep into what goes with the load and what goes with the temperature:
///   power = a + b T + c T^2 + s(point) delivered
/// with T the temperature that moves most, by least squares over seconds, those right after a
/// change of the point left out. Leakage makes a warmer processor draw more, which is none of the
/// load's. Needs time without load, and the load that was delivered. The residuals' correlation
/// widens the intervals.
DynamicPower dynamic_power(const SweepInput& input);

}  // namespace lab
