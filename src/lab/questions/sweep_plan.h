#pragma once

#include <string>
#include <vector>

#include "lab/analysis/sweep_points.h"
#include "lab/engine_process/machine_keys.h"
#include "lab/folder/run.h"
#include "lab/plan/plan.h"

namespace lab {

/// The points of a sweep over `over` that `text` lists, with commas between. Throws PlanError for
/// what is no such setting, and for fewer than two.
std::vector<std::string> listed_points(SweptSetting over, const std::string& text);

/// Six fan speeds from the highest least speed of the machine's fans to their highest maximum, each
/// the same part higher than the one before; "maximum" alone if the machine does not tell them.
std::vector<std::string> speeds_of(const std::vector<MachineKey>& keys);

/// The numbers of P-states to go over, of a machine that has so many: all of them, or eight from
/// the first to the last.
std::vector<std::string> numbers_of(std::size_t pstates);

/// The phases of a sweep: a stay at each point, until all has settled or `at_most_s`; before them,
/// but for a sweep over duty, one without load.
std::vector<Phase> phases_of(SweptSetting over, const std::vector<std::string>& points, double duty,
                             double at_most_s);

/// Puts the phases from `first` on into an order that the seed alone decides.
void shuffle(std::vector<Phase>& phases, std::size_t first, unsigned seed);

/// What a plan sweeps over: what its phases set, or else their duty.
SweptSetting swept_setting(const Plan& plan);

/// A run as a sweep: its points, and when it was at which.
SweepInput sweep_input(const Run& run);

}  // namespace lab
