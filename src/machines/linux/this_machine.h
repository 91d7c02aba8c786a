#pragma once

#include "machines/linux/drivers/machine.h"

namespace linux_machine {

/// The machine that the program runs on, made when it is first asked for, and never destroyed: its
/// fans are watched until the process ends. Thread: any.
Machine& this_machine();

/// The machine is another one, in these surroundings, which outlive it. Requires: this_machine()
/// was not called. Thread: the main one, before there are others.
void use_surroundings(const Surroundings& surroundings);

/// The surroundings of this_machine(). Thread: any.
const Surroundings& used_surroundings();

/// Those of the machine that the program runs on: /sys, /proc, /var/lib/vorn, /run/vorn. A program
/// for tests links another definition. Thread: any.
const Surroundings& this_surroundings();

}  // namespace linux_machine
