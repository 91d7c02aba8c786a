#pragma once

#include <string>
#include <vector>

#include "lab/analysis/comparison.h"
#include "lab/commands/exit_status.h"

namespace CLI {
class App;
}

namespace lab {

/// `compare`: runs beside each other.
struct CompareOptions {
  std::vector<std::string> folders;
  ComparisonRules rules;
  std::string out;
  bool json = false;
};

void add_compare_options(CLI::App& app, CompareOptions& options);

/// Analyses the runs, compares each with the first, writes result.json and report.html into a
/// folder of its own, and prints the answer. Throws PlanError for runs that are not of one kind,
/// and FolderError.
ExitStatus compare_runs(const CompareOptions& options, const std::vector<std::string>& command);

}  // namespace lab
