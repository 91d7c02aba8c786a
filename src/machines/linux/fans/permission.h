#pragma once

#include "machines/linux/surroundings/surroundings.h"
#include "machines/linux/sysfs/result.h"

namespace linux_machine {

struct FanChannel;

/// Whether this process may change a fan now. Failures: refused without the effective user 0, held
/// beside another program that controls fans.
sysfs::Result<sysfs::Done> may_change(const Surroundings& surroundings, const FanChannel& fan);

}  // namespace linux_machine
