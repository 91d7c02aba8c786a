#pragma once

#include <string>
#include <vector>

#include "lab/commands/common_options.h"
#include "lab/commands/exit_status.h"
#include "lab/questions/question.h"

namespace lab {

/// The folder of a run that nobody names: after the question and the wall clock of now.
std::string default_folder(const std::string& question);

/// Runs a plan into a new folder, analyses it, writes result and report, and prints the answer.
/// `command` is the user's command line. Throws PlanError, EngineError and FolderError.
ExitStatus run_plan(const Question& question, const Plan& plan, const OutputOptions& output,
                    const std::vector<std::string>& command);

}  // namespace lab
