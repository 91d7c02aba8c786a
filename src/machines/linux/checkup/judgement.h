#pragma once

#include <vector>

#include "Inspection/inspection.h"
#include "machines/linux/checkup/facts.h"

namespace linux_machine {

/// What a run can do and what it lacks, a line each, with remedies for what is not well. Pure.
std::vector<inspection::Finding> judge(const Facts& facts);

}  // namespace linux_machine
