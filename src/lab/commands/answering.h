#pragma once

#include "lab/commands/exit_status.h"
#include "lab/folder/folder_error.h"
#include "lab/folder/run_folder.h"
#include "lab/questions/question.h"
#include "lab/report/summary.h"

namespace lab {

/// What went wrong when the answer was on its way to standard output: it has nothing to be told
/// there.
class AfterAnswer : public FolderError {
 public:
  using FolderError::FolderError;
};

/// How an answer is printed.
enum class Printed { words, json };

/// What standard output can show: a terminal what the environment says, everything else UTF-8.
Letters letters_of_output();

/// Analyses the run in the folder, writes result.json and report.html there, and prints the answer.
/// Returns what the answer alone is worth. Throws FolderError (AfterAnswer, if it is the folder
/// that cannot be written, or standard output).
ExitStatus answer(const RunFolder& folder, const Question& question, Printed printed);

/// The same of a run that is known already.
ExitStatus answer(const RunFolder& folder, const Question& question, const Run& run,
                  Printed printed);

}  // namespace lab
