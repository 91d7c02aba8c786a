#include <filesystem>

#include "lab/plan/plan_file.h"
#include "lab/report/html.h"
#include "lab/report/page_parts.h"
#include "lab/report/shell_words.h"

namespace lab {

namespace {

/// The plan, for the program that was called.
std::string plan_of(const Run& run) {
  if (run.plan.question.empty()) {
    return "";
  }
  const std::vector<std::string>& command = run.info.command;
  return command.empty()
             ? plan_text(run.plan)
             : plan_text(run.plan, std::filesystem::path(command[0]).filename().string());
}

}  // namespace

std::string repeat_part(const Run& run) {
  const auto block = [](const std::string& title, const std::string& text) {
    return text.empty() ? "" : html::text("h3", title) + html::text("pre tabindex=\"0\"", text);
  };
  std::string engine;
  for (const std::vector<std::string>& command : run.info.engine_commands) {
    engine += shell_words(command) + "\n";
  }
  return html::element("section id=\"repeat\"",
                       html::element("h2", "To do it again") +
                           block("Command", shell_words(run.info.command)) +
                           block("Plan", plan_of(run)) +
                           block("What the engine was started with", engine)) +
         "\n";
}

}  // namespace lab
