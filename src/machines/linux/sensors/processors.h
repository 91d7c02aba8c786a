#pragma once

#include <cstddef>

#include "machines/linux/sysfs/tree.h"

/// What the kernel says of the processors themselves, where it decides what a sensor means.
namespace linux_machine {

/// Whether they are AMD's, or built after AMD's plans. False as well if the kernel does not tell.
bool are_amd(sysfs::Tree& tree);

/// In how many packages those that are online are; 0 if the kernel does not tell.
std::size_t count_packages(sysfs::Tree& tree);

}  // namespace linux_machine
