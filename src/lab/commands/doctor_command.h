#pragma once

#include <string>

#include "lab/commands/exit_status.h"
#include "lab/engine_process/machine_keys.h"

namespace lab {

/// `doctor`: what the companion's check finds on this machine, and what each question lacks here.
/// Prints both. A program that is missing is among the findings.
ExitStatus doctor(bool json);

/// What the companion finds for `vorn`, as it concerns the lab: rights of a file are those of
/// `engine`, and options are the lab's. `folder`, with a slash at its end, is where the companion
/// is. Pure.
Finding for_the_lab(const Finding& finding, const std::string& folder, const std::string& engine);

}  // namespace lab
