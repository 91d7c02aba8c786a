#pragma once

#include <string>
#include <vector>

#include "lab/live/look.h"

namespace lab {

/// The newest warnings that fit into so many rows (at least 1) and columns, the newest last, and
/// how many are older. A warning is broken into lines; one that takes more than all rows is
/// clipped.
std::vector<std::string> warning_rows(const std::vector<std::string>& warnings, int rows,
                                      int columns, Look look);

}  // namespace lab
