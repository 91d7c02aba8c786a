#pragma once

#include <vector>

#include "machines/linux/sensors/sensor.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// The keys of this machine's powers: PC0C for the processor packages together, PD0C for the
/// memory beside them, PS0C for the whole platform. Thread: any.
std::vector<SensorKey> find_power_keys(const Surroundings& surroundings);

}  // namespace linux_machine
