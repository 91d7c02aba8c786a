#include "lab/commands/answering.h"

#include <fstream>
#include <iostream>
#include <sstream>

#include "lab/folder/folder_error.h"
#include "lab/folder/whole_file.h"
#include "lab/report/facts.h"
#include "lab/report/page_parts.h"
#include "lab/report/report.h"
#include "lab/report/report_assets.h"
#include "lab/report/summary.h"

namespace lab {

ExitStatus answer(const RunFolder& folder, const Question& question, Printed printed) {
  const Run run = folder.read();
  const Answer found = question.analyse(run);
  folder.write_result(run, found);
  std::ostringstream page;
  write_report(page, run, found, installed_assets());
  write_whole(folder.report(), page.str());
  if (printed == Printed::json) {
    std::cout << result_text(run, found);
  } else {
    Answer said = found;
    said.warnings = all_warnings(run, found);
    const std::vector<std::string> alarming = alarms(run);
    said.warnings.insert(said.warnings.begin(), alarming.begin(), alarming.end());
    write_summary(std::cout, said);
    std::cout << "\nreport: " << folder.report().string() << '\n';
  }
  if (!std::cout.flush()) {
    throw FolderError(std::string("the answer could not be printed; it is in ") +
                      folder.result().string());
  }
  return found.decided ? kAnswered : kNotDecided;
}

}  // namespace lab
