#pragma once

#include <vector>

#include "lab/analysis/sweep_points.h"
#include "lab/data/answer.h"

namespace lab {

/// What each key comes to at each point of a sweep, and the law behind it.
///
/// `figures`:
///   over                   "rpm", "duty", "pstate" or "load"
///   points[]               in the order of their settings:
///     setting              number, or the name of a load
///     keys.KEY             Estimate: the settled value
///     settled              false: the end of some temperature or power was not seen, or only
///                          foretold by a fit
///     visits               how often the sweep was there
///     delivered            load, 0 to 1; null: not known
///     operations_per_joule Estimate; missing: the load does not count, or no power was measured
///     dynamic_power        of all but fans: Estimate, W for all processors, without leakage
///     activity             of loads: Estimate, dynamic_power as a part of the highest one
///     resistance.KEY       of fans: Estimate, K/W, from the air to a temperature
///   idle[]                 the same without load, where that is none of the points
///   power.name             column of the heat; null: none
///   load_line              of duty: idle and full_load (W), and resistance.KEY (K/W)
///   cooling.KEY            of fans: exponent, still_conductance, forced_conductance (W/K),
///                          series_resistance (K/W), air (degC): see air_flow_law.h
Answer analyse_sweep(const SweepInput& input);

/// Points whose error is larger than the one asked for (input.error), and which another visit can
/// make smaller. None if no error was asked for.
std::vector<std::size_t> points_to_repeat(const SweepInput& input);

}  // namespace lab
