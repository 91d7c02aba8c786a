#pragma once

#include <vector>

#include "machines/linux/cpufreq/pin.h"
#include "machines/linux/surroundings/surroundings.h"
#include "machines/linux/sysfs/result.h"

namespace linux_machine {

/// Waits until every limit reads as it was set, within 1 %, for a second at most: the kernel
/// applies limits from a work queue, some milliseconds after it has accepted them. A failure names
/// the first attribute that does not come, the value wanted and the one seen; or is that of reading
/// it, if that does not pass. Thread: any.
sysfs::Result<sysfs::Done> confirm(const Surroundings& surroundings,
                                   const std::vector<Setting>& limits);

}  // namespace linux_machine
