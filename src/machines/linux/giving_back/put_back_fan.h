#pragma once

#include "machines/linux/giving_back/journal.h"
#include "machines/linux/giving_back/put_back.h"

namespace linux_machine {

/// Puts one fan channel back as its line says, or else at full speed; see put_back(). Returns
/// whether it is as it was.
bool put_back_fan(sysfs::Tree& tree, const FanLine& fan, const PutBackTools& tools, Extent what);

}  // namespace linux_machine
