#pragma once

#include <string>
#include <vector>

#include "machines/linux/hwmon/devices.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

struct ThermalChip {
  HwmonDevice device;
  std::vector<HwmonInput> temperatures;
};

struct ThermalZone {
  std::string type;
  std::string folder;
};

/// All temperatures of a machine, without their values.
struct ThermalSurvey {
  std::vector<ThermalChip> chips;
  std::vector<ThermalZone> zones;
};

ThermalSurvey survey_temperatures(sysfs::Tree& tree);

}  // namespace linux_machine
