#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lab/commands/common_options.h"
#include "lab/commands/compare_command.h"
#include "lab/commands/exit_status.h"
#include "lab/commands/fit_command.h"
#include "lab/commands/folder_commands.h"
#include "lab/questions/question.h"

namespace CLI {
class App;
class Error;
}  // namespace CLI

namespace lab {

/// The commands of the program and their options.
class CommandLine {
 public:
  explicit CommandLine(const std::string& program);
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;
  ~CommandLine();

  CLI::App& app() { return *app_; }

  /// What is wrong with a command line whose parsing threw `error`, in words. app().exit() says it
  /// to the person who typed it, with the help that there is.
  std::string complaint(const CLI::Error& error) const;

  /// Does what the command line, which has been parsed, asks for. `words` is all of it.
  ExitStatus run(const std::vector<std::string>& words);

 private:
  CLI::App* add(CLI::App& parent, const char* name, const std::string& summary,
                const std::string& example);
  void add_questions();
  void add_run();
  void add_plan();
  void add_others();
  Plan plan_of(const Question& question, const CLI::App& command) const;

  std::string program_;
  std::unique_ptr<CLI::App> app_;
  std::vector<std::unique_ptr<Question>> questions_;
  PlanOptions plan_options_;
  OutputOptions output_;
  CompareOptions compare_;
  FitOptions fit_;
  PlotOptions plot_;
  std::string report_folder_;
  bool json_ = false;
  std::vector<std::string> words_;
  std::function<ExitStatus()> chosen_;
};

}  // namespace lab
