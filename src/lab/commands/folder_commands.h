#pragma once

#include <string>

#include "lab/commands/exit_status.h"

namespace lab {

/// `report`: analyses the run in a folder again, and writes its result and report again. Throws
/// FolderError and PlanError.
ExitStatus report_again(const std::string& folder, bool json);

struct PlotOptions {
  std::string folder;
  std::string to = "plot.png";  ///< PNG, SVG or PDF, by its ending
  std::string chart;            ///< title or number of a chart; empty: the samples over time
  bool json = false;
};

/// `plot`: a picture of a run. Throws FolderError, PlanError and PlotError.
ExitStatus plot_run(const PlotOptions& options);

}  // namespace lab
