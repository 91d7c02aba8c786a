#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "machines/linux/hwmon/devices.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

struct ThermalChip {
  HwmonDevice device;
  std::vector<HwmonInput> temperatures;
};

/// AMD's processors have one for each node: a die, of which older packages have several.
bool measures_amd_node(const ThermalChip& chip);

struct ThermalZone {
  std::string type;
  std::string folder;
};

/// All temperatures of a machine, without their values.
struct ThermalSurvey {
  std::vector<ThermalChip> chips;
  std::vector<ThermalZone> zones;
  std::size_t packages = 0;  ///< of processors; 0: not known, or nothing depends on it
};

ThermalSurvey survey_temperatures(sysfs::Tree& tree);

}  // namespace linux_machine
