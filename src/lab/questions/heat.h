#pragma once

#include <string>

#include "lab/analysis/step.h"
#include "lab/folder/run.h"

namespace lab {

/// The column of a run that heats: the power that the plan names, else the package's ("PC0C"), else
/// the first power; empty if the run has none.
std::string power_column(const Run& run);

/// What a thermal analysis takes from a run: its power, or, without one, the load that was
/// delivered, and every temperature. Of samples that came faster than a power is measured, one for
/// each tenth of a second: closer readings hold the same energy, and it would look like a stage.
StepInput heat_and_temperatures(const Run& run);

}  // namespace lab
