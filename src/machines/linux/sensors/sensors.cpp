#include "machines/linux/sensors/sensors.h"

#include <utility>

#include "machines/linux/sensors/power.h"
#include "machines/linux/sensors/temperature.h"

namespace linux_machine {

std::vector<SensorKey> find_sensors(const Surroundings& surroundings) {
  std::vector<SensorKey> keys = find_power_keys(surroundings);
  for (SensorKey& key : find_temperature_keys(surroundings)) {
    keys.push_back(std::move(key));
  }
  return keys;
}

}  // namespace linux_machine
