#pragma once

#include <vector>

#include "machines/linux/hwmon/plausible.h"
#include "machines/linux/sensors/sensor.h"
#include "machines/linux/surroundings/surroundings.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// The keys of this machine's temperatures: TC0D, TC1D ... one for each package, TC0P for the
/// hottest of them, TA0P for the air. A source of better quality is passed over as long as none of
/// its sensors says anything that can be. Thread: any.
std::vector<SensorKey> find_temperature_keys(const Surroundings& surroundings);

/// The temperatures of every processor package, for whoever slows fans down; none if the machine
/// shows none.
std::vector<WatchedTemperature> find_watched_temperatures(sysfs::Tree& tree);

}  // namespace linux_machine
