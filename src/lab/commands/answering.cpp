#include "lab/commands/answering.h"

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <sstream>

#include "lab/folder/folder_error.h"
#include "lab/folder/whole_file.h"
#include "lab/live/look.h"
#include "lab/report/facts.h"
#include "lab/report/page_parts.h"
#include "lab/report/report.h"
#include "lab/report/report_assets.h"

namespace lab {

namespace {

/// Writes what the folder keeps of an answer. Returns why it could not; empty if it could.
std::string keep(const RunFolder& folder, const Run& run, const Answer& found) {
  try {
    folder.write_result(run, found);
    std::ostringstream page;
    write_report(page, run, found, installed_assets());
    write_whole(folder.report(), page.str());
  } catch (const FolderError& error) {
    return error.what();
  }
  return "";
}

void print_words(const Run& run, const Answer& found) {
  Answer said = found;
  said.warnings = all_warnings(run, found);
  const std::vector<std::string> alarming = alarms(run);
  said.warnings.insert(said.warnings.begin(), alarming.begin(), alarming.end());
  write_summary(std::cout, said, letters_of_output());
}

}  // namespace

Letters letters_of_output() {
  return isatty(STDOUT_FILENO) != 0 && !look_of_environment().utf8 ? Letters::ascii : Letters::utf8;
}

ExitStatus answer(const RunFolder& folder, const Question& question, Printed printed) {
  return answer(folder, question, folder.read(), printed);
}

ExitStatus answer(const RunFolder& folder, const Question& question, const Run& run,
                  Printed printed) {
  const Answer found = question.analyse(run);
  const std::string not_kept = keep(folder, run, found);
  if (printed == Printed::json) {
    std::cout << result_text(run, found);
  } else {
    print_words(run, found);
    if (not_kept.empty()) {
      std::cout << "\nreport: " << folder.report().string() << '\n';
    }
  }
  const bool said = static_cast<bool>(std::cout.flush());
  if (!not_kept.empty()) {
    throw AfterAnswer(not_kept + ": the answer " + (said ? "above " : "") +
                      "could not be kept in the folder of the run");
  }
  if (!said) {
    throw AfterAnswer(std::string("the answer could not be printed; it is in ") +
                      folder.result().string());
  }
  return found.decided ? kAnswered : kNotDecided;
}

}  // namespace lab
