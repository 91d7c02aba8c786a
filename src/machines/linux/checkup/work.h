#pragma once

#include "Inspection/inspection.h"
#include "machines/linux/drivers/machine.h"

namespace linux_machine {

/// Measures, keeps and prints the curve of every fan that can be controlled; see
/// inspection::calibrate. One that fails does not keep the others from being measured.
bool calibrate(Machine& machine, const Surroundings& surroundings,
               const inspection::Console& console);

/// Keeps the number that a user gives to a fan; see inspection::assign.
bool assign_fan(Machine& machine, const Surroundings& surroundings, const std::string& wish,
                const inspection::Console& console);

/// Gives back what every state file says; see inspection::restore. What a run holds is left alone.
bool give_back_parts(const Surroundings& surroundings, const inspection::Console& console);

}  // namespace linux_machine
