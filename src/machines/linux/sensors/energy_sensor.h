#pragma once

#include <memory>
#include <string>
#include <vector>

#include "machines/linux/sensors/energy_meter.h"
#include "machines/linux/sensors/sensor.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// An attribute that counts microjoules.
struct EnergyCounter {
  std::string attribute;
  EnergyCounterLimits limits;
};

/// The sum of the counters' mean powers since the read before (see EnergyMeter), the first time
/// since the connection was made. A read waits until there is a window to measure: at most 50 ms
/// if the counters are sound, a second if one does not move at all, two if one hardly moves.
/// What lies between two reads cannot always be measured (the counter may have wrapped twice, or
/// jumped): then the power is that of a window made for it, and the user is told, once of each.
/// Requires: at least one counter.
std::unique_ptr<Sensor> connect_energy(const Surroundings& surroundings,
                                       const std::vector<EnergyCounter>& counters);

}  // namespace linux_machine
