#pragma once

#include <string>
#include <vector>

#include "machines/linux/sensors/thermal_survey.h"

/// Which of a machine's temperatures are its processor's, and which is the air's.
namespace linux_machine {

/// An attribute in millidegrees Celsius.
struct Thermometer {
  std::string attribute;
  std::string description;  ///< for people: driver and label
};

/// Those of one processor package: the hottest counts.
using ThermalPackage = std::vector<Thermometer>;

/// For every rule that finds some, best rule first: the packages, in their order. Pure.
std::vector<std::vector<ThermalPackage>> processor_choices(const ThermalSurvey& survey);

/// Those whose labels say that they measure the air around or inside the machine, best first. Pure.
std::vector<Thermometer> ambient_choices(const ThermalSurvey& survey);

}  // namespace linux_machine
