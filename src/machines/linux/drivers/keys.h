#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "machines/controller/value_type.h"
#include "machines/linux/fans/fan_control.h"
#include "machines/linux/sensors/sensor.h"

namespace linux_machine {

/// A key of this machine's controller: a sensor that each connection reads for itself, or a
/// register of the fan control that all of them share.
struct Key {
  std::uint32_t code = 0;
  const controller::ValueType& type;
  std::string source;  ///< for people

  std::function<std::unique_ptr<Sensor>()> connect = nullptr;         ///< null: a register
  std::function<sysfs::Result<double>()> read = nullptr;              ///< of a register
  std::function<sysfs::Result<sysfs::Done>(double)> write = nullptr;  ///< null: read-only
  bool moves_fan_when_read = false;  ///< its value may have to be measured first

  std::string name() const { return controller::characters_of(code); }
};

/// Every key that this machine has a source for: the sensors', then "FS! " and the keys of each
/// fan. `fans` outlives them.
std::vector<Key> make_keys(std::vector<SensorKey> sensors, const Surroundings& surroundings,
                           FanControl& fans);

}  // namespace linux_machine
