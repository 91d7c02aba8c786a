#pragma once

#include <span>
#include <vector>

#include "machines/linux/sensors/rapl.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// Leaves each package in once, where the processors are AMD's and the kernel shows a zone for each
/// of a package's dies: what was decided is in the descriptions. `zones` are packages, in their
/// order.
std::vector<RaplZone> without_mirrors(sysfs::Tree& tree, std::vector<RaplZone> zones);

/// Whether counters that were read one after the other may be one and the same. `range_uj`: a
/// counter begins anew after it; 0: not known. Pure.
bool may_be_one_counter(std::span<const long long> energies_uj, long long range_uj);

}  // namespace linux_machine
