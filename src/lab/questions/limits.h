#pragma once

#include <vector>

#include "lab/engine_process/machine_keys.h"
#include "lab/plan/plan.h"

namespace lab {

/// A limit for each temperature of the machine that is well below it: what a plan that slows fans
/// is run with. The engine watches the limits before it is told another speed.
void arm_limits(Plan& plan, const std::vector<MachineKey>& keys);

}  // namespace lab
