#pragma once

#include <string>

#include "lab/report/plot_error.h"

namespace lab {

/// Starts the program, without a shell, gives it the script and returns what it writes to its
/// standard output. Thread: waits for the program. Throws PlotError: it is not installed, or what
/// it complains of.
std::string run_gnuplot(const std::string& script, const std::string& program = "gnuplot");

}  // namespace lab
