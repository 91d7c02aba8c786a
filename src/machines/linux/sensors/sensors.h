#pragma once

#include <vector>

#include "machines/linux/sensors/sensor.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// The keys of everything that this machine measures but its fans, powers first. A key exists only
/// if there is something to read it from, whether or not it can be read now. The keys are outlived
/// by the surroundings. Thread: any.
std::vector<SensorKey> find_sensors(const Surroundings& surroundings);

}  // namespace linux_machine
