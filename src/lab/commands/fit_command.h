#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/commands/common_options.h"
#include "lab/commands/exit_status.h"

namespace CLI {
class App;
}

namespace lab {

/// `fit`: the analysis of a step, on anybody's table.
struct FitOptions {
  std::string file;
  std::string time = "1";
  std::string time_unit;  ///< empty, here and below: as the table says, else s, W and C
  std::string power;
  std::string power_unit;
  std::optional<double> watts;
  std::vector<std::string> temperatures;
  std::string temperature_unit;
  bool structure = false;
  OutputOptions output;
};

void add_fit_options(CLI::App& app, FitOptions& options);

/// Throws CsvError, PlanError and FolderError.
ExitStatus fit(const FitOptions& options, const std::vector<std::string>& command);

}  // namespace lab
