#pragma once

#include <optional>
#include <string>
#include <vector>

#include "machines/linux/sensors/energy_sensor.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// A zone of the kernel's power capping framework that counts energy.
struct RaplZone {
  std::string name;               ///< "package-0", "dram of package-0", "psys"
  std::string description;        ///< for people: the zone's folder and name
  std::optional<double> limit_w;  ///< the largest that is known
  EnergyCounter counter;
};

/// The zones that are worth a key. Every processor package is in it once, even if the machine
/// shows it in two ways; a package's cores are part of it and not here.
struct RaplZones {
  std::vector<RaplZone> packages;
  std::vector<RaplZone> memory;    ///< beside the packages
  std::vector<RaplZone> platform;  ///< at most one; packages included
};

RaplZones find_rapl_zones(sysfs::Tree& tree);

/// The largest power that a zone can be believed to draw.
double most_plausible_w(std::optional<double> limit_w);

}  // namespace linux_machine
