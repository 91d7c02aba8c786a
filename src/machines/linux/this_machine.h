#pragma once

#include "machines/linux/drivers/machine.h"

namespace linux_machine {

/// The machine that the program runs on, made when it is first asked for, and never destroyed: its
/// fans are watched until the process ends. Thread: any.
Machine& this_machine();

/// Its surroundings: /sys, /proc, /var/lib/vorn, /run/vorn. A program for tests links another
/// definition. Thread: any.
const Surroundings& this_surroundings();

}  // namespace linux_machine
