#pragma once

#include <optional>
#include <string>
#include <vector>

#include "machines/linux/sensors/energy_sensor.h"
#include "machines/linux/sensors/sensor.h"
#include "machines/linux/sysfs/tree.h"

/// The processor's power as hardware monitors show it, for machines without RAPL. Never a graphics
/// card's, a power supply's or the whole machine's.
namespace linux_machine {

/// A counter of a processor's energy.
struct HwmonEnergy {
  std::string description;  ///< for people: driver, label, attribute
  EnergyCounter counter;
};

/// One for each socket; none if the machine has no such counters.
std::vector<HwmonEnergy> find_socket_energies(sysfs::Tree& tree);

/// An attribute in microwatts.
struct HwmonPower {
  std::string attribute;
  std::string description;        ///< for people: driver, label, attribute
  std::optional<double> limit_w;  ///< the largest that is known
};

/// The parts that make up the processors' power, all from one kind of driver.
std::vector<HwmonPower> find_processor_powers(sysfs::Tree& tree);

/// Their sum. Requires: at least one.
std::unique_ptr<Sensor> connect_powers(sysfs::Tree& tree, const std::vector<HwmonPower>& powers);

}  // namespace linux_machine
