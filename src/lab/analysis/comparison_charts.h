#pragma once

#include <vector>

#include "lab/analysis/comparison.h"
#include "lab/data/answer.h"

namespace lab {

/// The charts that at least two of the runs have, with the lines of all; a line is named after run
/// and key. Residuals stay out: they say nothing beside each other. With `keys`, only theirs.
std::vector<Chart> charts_over_each_other(const std::vector<ComparedRun>& runs,
                                          const std::vector<std::string>& keys);

}  // namespace lab
