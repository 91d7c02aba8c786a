#pragma once

#include <string>

#include "machines/linux/sysfs/result.h"

namespace linux_machine {

/// What the file holds; empty if it cannot be read.
std::string kept_text(const std::string& path);

/// Makes the folder if need be, and replaces the file in it as a whole: a reader never sees half of
/// it. Everybody may read both.
sysfs::Result<sysfs::Done> keep_text(const std::string& folder, const std::string& path,
                                     const std::string& text);

}  // namespace linux_machine
