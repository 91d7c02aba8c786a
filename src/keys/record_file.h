#pragma once

#include <string>

#include "Inspection/inspection.h"

namespace vorn_keys {

/// Records the machine into a file, which "-" is standard output for; before that takes seconds,
/// the file is opened. Returns whether that worked; if not, says why.
bool record_into(const std::string& file, const inspection::Console& console);

/// From here on the machine is the one that was recorded in `file`. Returns whether it is; if not,
/// says why. Requires: no machine was asked for anything.
bool use_record_of(const std::string& file, const inspection::Console& console);

}  // namespace vorn_keys
