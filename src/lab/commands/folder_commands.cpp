#include "lab/commands/folder_commands.h"

#include <iostream>
#include <nlohmann/json.hpp>

#include "lab/commands/answering.h"
#include "lab/folder/folder_error.h"
#include "lab/report/plot.h"

namespace lab {

namespace {

const Question& question_of(const std::vector<std::unique_ptr<Question>>& questions,
                            const RunFolder& folder) {
  const std::string name = folder.read().info.question;
  const Question* question = find_question(questions, name);
  if (question == nullptr) {
    throw FolderError(folder.info().string() + ": its question \"" + name +
                      "\" is not one of this vorn-lab: another version made it");
  }
  return *question;
}

}  // namespace

ExitStatus report_again(const std::string& path, bool json) {
  const RunFolder folder(path);
  const auto questions = all_questions();
  return answer(folder, question_of(questions, folder), json ? Printed::json : Printed::words);
}

ExitStatus plot_run(const PlotOptions& options) {
  const RunFolder folder(options.folder);
  const auto questions = all_questions();
  const Run run = folder.read();
  plot(run, question_of(questions, folder).analyse(run), options.to, options.chart);
  if (options.json) {
    std::cout << nlohmann::ordered_json{{"version", 1}, {"file", options.to}}.dump(2) << '\n';
  } else {
    std::cout << options.to << '\n';
  }
  return kAnswered;
}

}  // namespace lab
