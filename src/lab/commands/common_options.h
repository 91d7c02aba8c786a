#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/plan/plan.h"

namespace CLI {
class App;
}

namespace lab {

/// What every command that makes a run can be told about where it goes and what is shown.
struct OutputOptions {
  std::string out;     ///< the run folder; empty: one named after question and time
  bool json = false;   ///< result.json on standard output, in place of words
  bool quiet = false;  ///< nothing is shown while it runs
  bool lines = false;  ///< lines in place of a full screen
};

/// What every plan can be told, beside what a question has of its own.
struct PlanOptions {
  std::string plan_file;
  std::string load;
  std::optional<int> threads;
  std::optional<double> rate_hz;
  std::optional<double> carrier_hz;
  std::vector<std::string> keys;
  std::string power;
  std::string fans;
  std::string pstate;
  std::vector<std::string> limits;
};

void add_output_options(CLI::App& app, OutputOptions& options);

/// `defaults` is what the help calls so.
void add_plan_options(CLI::App& app, PlanOptions& options, const Plan& defaults);

/// Changes the plan to what the options say. Throws PlanError.
void apply(const PlanOptions& options, Plan& plan);

}  // namespace lab
