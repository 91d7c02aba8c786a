#include "machines/linux/sensors/thermal_survey.h"

#include <algorithm>
#include <utility>

#include "machines/linux/hwmon/natural_order.h"
#include "machines/linux/sensors/processors.h"
#include "machines/linux/sysfs/attribute.h"

namespace linux_machine {

bool measures_amd_node(const ThermalChip& chip) {
  return chip.device.name == "k10temp" || chip.device.name == "zenpower";
}

ThermalSurvey survey_temperatures(sysfs::Tree& tree) {
  ThermalSurvey survey;
  for (HwmonDevice& device : find_hwmon(tree)) {
    std::vector<HwmonInput> inputs = find_inputs(tree, device, "temp");
    survey.chips.push_back({std::move(device), std::move(inputs)});
  }
  std::vector<std::string> names = sysfs::list(tree, "class/thermal");
  std::sort(names.begin(), names.end(), natural_less);
  for (const std::string& name : names) {
    const std::string folder = "class/thermal/" + name;
    if (name.starts_with("thermal_zone")) {
      if (const auto type = sysfs::read_text(tree, folder + "/type")) {
        survey.zones.push_back({*type, folder});
      }
    }
  }
  if (std::count_if(survey.chips.begin(), survey.chips.end(), measures_amd_node) > 1) {
    survey.packages = count_packages(tree);
  }
  return survey;
}

}  // namespace linux_machine
