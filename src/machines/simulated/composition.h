#pragma once

#include <vector>

#include "Kx/driver.h"
#include "machines/simulated/machine.h"

namespace simulated {

/// The registry of a simulated machine with `machine` behind its drivers: the controller, and one
/// level deeper the power plugin. Requires: `machine` outlives the drivers.
std::vector<kx::Node> compose(Machine& machine);

}  // namespace simulated
