#pragma once

#include <string>

#include "lab/data/answer.h"
#include "lab/folder/run.h"
#include "lab/report/plot_error.h"

namespace lab {

/// Writes a picture: PNG, SVG or PDF by the ending of `path`. `which` is a chart's number, from 1
/// in the order of the report, or a part of its title in any case; empty: all samples over time.
/// The file appears whole or not at all. Needs the program gnuplot. Throws PlanError for an ending
/// and for a chart that there are none of, PlotError if no picture can be made, and FolderError if
/// the file cannot be written.
void plot(const Run& run, const Answer& answer, const std::string& path,
          const std::string& which = "");

}  // namespace lab
