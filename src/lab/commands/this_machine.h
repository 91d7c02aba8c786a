#pragma once

#include <string>

#include "lab/folder/run_info.h"

namespace lab {

/// Notes the machine, the program's version and the wall clock of now in `info`.
void note_machine(RunInfo& info);

/// The wall clock of now, in local time: RFC 3339.
std::string wall_clock();

}  // namespace lab
