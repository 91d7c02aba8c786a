#pragma once

#include "lab/commands/exit_status.h"
#include "lab/folder/run_folder.h"
#include "lab/questions/question.h"

namespace lab {

/// How an answer is printed.
enum class Printed { words, json };

/// Analyses the run in the folder, writes result.json and report.html there, and prints the answer.
/// Returns what the answer alone is worth. Throws FolderError, after printing if it is the folder
/// that cannot be written, and PlanError.
ExitStatus answer(const RunFolder& folder, const Question& question, Printed printed);

/// The same of a run that is known already.
ExitStatus answer(const RunFolder& folder, const Question& question, const Run& run,
                  Printed printed);

}  // namespace lab
