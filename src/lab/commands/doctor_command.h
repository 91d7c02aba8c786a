#pragma once

#include "lab/commands/exit_status.h"

namespace lab {

/// `doctor`: what the companion's check finds on this machine, and what each question lacks here.
/// Prints both. Throws EngineError.
ExitStatus doctor(bool json);

}  // namespace lab
