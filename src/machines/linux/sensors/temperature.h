#pragma once

#include <string>
#include <vector>

#include "machines/linux/sensors/sensor.h"
#include "machines/linux/surroundings.h"
#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// The keys of this machine's temperatures: TC0D, TC1D ... one for each package, TC0P for the
/// hottest of them, TA0P for the air. A source of better quality is passed over as long as none of
/// its sensors says anything that can be. Thread: any.
std::vector<SensorKey> find_temperature_keys(const Surroundings& surroundings);

/// A temperature that must stay below a limit, for whoever slows fans down.
struct PackageTemperature {
  std::string attribute;  ///< millidegrees Celsius
  double critical_c;      ///< where the processor begins to protect itself
};

/// Those of every processor package; none if the machine shows none.
std::vector<PackageTemperature> find_package_temperatures(sysfs::Tree& tree);

/// What an attribute in millidegrees says, in degrees Celsius: nonsense for a processor unless
/// within 1 to 125 degrees.
sysfs::Result<double> processor_temperature(sysfs::Attribute& attribute);

}  // namespace linux_machine
