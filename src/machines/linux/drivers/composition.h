#pragma once

#include <vector>

#include "Kx/driver.h"
#include "machines/linux/drivers/machine.h"

namespace linux_machine {

/// The registry of a machine with its drivers, for what it has: a controller if there is any key, a
/// power plugin if there are P-states. Requires: `machine` outlives the drivers.
std::vector<kx::Node> compose(Machine& machine);

}  // namespace linux_machine
