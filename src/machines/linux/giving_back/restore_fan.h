#pragma once

#include "machines/linux/giving_back/journal.h"
#include "machines/linux/giving_back/restore.h"

namespace linux_machine {

/// Puts one fan channel back as its line says, or else at full speed; see restore(). Returns
/// whether it is as it was.
bool restore_fan(sysfs::Tree& tree, const FanLine& fan, const RestoreTools& tools, PutBack what);

}  // namespace linux_machine
