#pragma once

#include <string>
#include <vector>

#include "lab/commands/common_options.h"
#include "lab/commands/exit_status.h"
#include "lab/folder/measured_samples.h"

namespace CLI {
class App;
}

namespace lab {

/// `fit`: the analysis of a step, on anybody's table.
struct FitOptions {
  std::string file;
  MeasuredColumns columns;
  std::string time_unit;  ///< of time_units(); empty: as the table says, else s
  bool structure = false;
  OutputOptions output;
};

void add_fit_options(CLI::App& app, FitOptions& options);

/// Throws CsvError, PlanError and FolderError.
ExitStatus fit(const FitOptions& options, const std::vector<std::string>& command);

}  // namespace lab
