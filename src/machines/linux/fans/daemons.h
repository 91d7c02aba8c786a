#pragma once

#include <optional>
#include <string>

#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// Another program that controls fans and is running now with root's rights, by the name under
/// which it is stopped; none if there is none. `proc` is /proc.
std::optional<std::string> running_fan_daemon(sysfs::Tree& proc);

/// Why fans cannot be forced beside it, and what to do.
std::string beside_daemon(const std::string& daemon);

}  // namespace linux_machine
