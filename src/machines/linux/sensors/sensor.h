#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "machines/controller/value_type.h"
#include "machines/linux/surroundings/surroundings.h"
#include "machines/linux/sysfs/result.h"

namespace linux_machine {

/// A quantity as one connection reads it: its files opened once, its averages begun anew.
/// Thread: one at a time.
class Sensor {
 public:
  Sensor() = default;
  Sensor(const Sensor&) = delete;
  Sensor& operator=(const Sensor&) = delete;
  virtual ~Sensor() = default;

  /// Units: W, degrees C or RPM.
  virtual sysfs::Result<double> read() = 0;
};

/// A key whose value is read from the machine, and where from.
struct SensorKey {
  std::string name;  ///< four characters
  const controller::ValueType& type;
  std::string source;  ///< for people: the attributes, below the root
  /// Makes the sensor for a new connection. Never null: what cannot be opened, its reads say.
  std::function<std::unique_ptr<Sensor>()> connect;
};

}  // namespace linux_machine
