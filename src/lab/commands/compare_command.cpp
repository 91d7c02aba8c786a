#include "lab/commands/compare_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <set>
#include <sstream>

#include "lab/commands/answering.h"
#include "lab/commands/run_command.h"
#include "lab/commands/this_machine.h"
#include "lab/folder/folder_error.h"
#include "lab/folder/run_folder.h"
#include "lab/folder/whole_file.h"
#include "lab/plan/plan_error.h"
#include "lab/questions/number_range.h"
#include "lab/questions/question.h"
#include "lab/questions/sweep_plan.h"
#include "lab/report/report.h"
#include "lab/report/report_assets.h"
#include "lab/report/summary.h"

namespace lab {

namespace {

namespace fs = std::filesystem;

// The analysis of `fit` is that of `step`; a duty of 1 is nothing beside P-state 1.
std::string kind_of(const Run& run) {
  const std::string& question = run.info.question;
  if (question == "sweep") {
    return question + " over " + text(swept_setting(run.plan));
  }
  return question == "fit" ? "step" : question;
}

std::string fans_of(const Run& run) {
  if (!run.info.fans.empty()) {
    return run.info.fans;
  }
  return run.plan.fans.hold == Fans::Hold::speed ? std::to_string(run.plan.fans.rpm) + " RPM" : "";
}

/// The mean duties under load of a plan whose points are compared one by one, whichever they are.
std::string mean_duties_of(const Plan& plan) {
  std::set<std::string> duties;
  for (const Phase& phase : plan.phases) {
    const Drive& drive = phase.drive;
    if (drive.duty > 0 || drive.depth > 0) {
      std::ostringstream text;
      text << drive.duty + drive.depth / 2;
      duties.insert(text.str());
    }
  }
  std::string all;
  for (const std::string& duty : duties) {
    all += (all.empty() ? "" : ", ") + duty;
  }
  return all;
}

std::string drives_of(const Plan& plan) {
  if (plan.question == "sweep" && swept_setting(plan) == SweptSetting::duty) {
    return "";  // its duties are its points
  }
  if (plan.question == "sweep" || plan.question == "bode" || plan.question == "fans") {
    return mean_duties_of(plan);
  }
  std::ostringstream text;
  for (const Phase& phase : plan.phases) {
    text << (text.tellp() > 0 ? ", " : "") << phase.name << ' ' << phase.drive.duty;
    if (phase.drive.shape != Drive::Shape::constant) {
      text << " and up to " << phase.drive.depth << " more at " << phase.drive.frequency_hz
           << " Hz";
    }
    if (phase.load) {
      text << " of " << *phase.load;
    }
  }
  for (const std::string& option : plan.engine_options) {
    text << (text.tellp() > 0 ? " " : "") << option;
  }
  return text.str();
}

std::vector<ComparedRun::Condition> conditions_of(const Run& run) {
  const RunInfo& info = run.info;
  if (info.question == "fit") {  // where and how it was measured, the folder does not know
    return {};
  }
  return {{"machine", info.host + (info.processor.empty() ? "" : ", " + info.processor)},
          {"load", run.plan.load},
          {"number of threads", std::to_string(run.plan.threads)},
          {"duty", drives_of(run.plan)},
          {"hold of the fans", fans_of(run)},
          {"P-state", info.pstate}};
}

/// The folders' names as they were given, without what they have in common if that is a long way.
std::vector<std::string> names_of(const std::vector<std::string>& folders) {
  std::vector<std::string> names;
  for (const std::string& folder : folders) {
    fs::path path = fs::path(folder).lexically_normal();
    if (!path.has_filename()) {
      path = path.parent_path();
    }
    names.push_back(path.filename().string());
  }
  for (std::size_t at = 0; at < names.size(); ++at) {
    if (std::count(names.begin(), names.end(), names[at]) > 1) {
      return folders;
    }
  }
  return names;
}

void refuse_the_same_twice(const std::vector<std::string>& folders) {
  for (std::size_t at = 0; at < folders.size(); ++at) {
    for (std::size_t before = 0; before < at; ++before) {
      std::error_code error;
      if (fs::equivalent(folders[before], folders[at], error)) {
        throw PlanError(folders[before] + " and " + folders[at] +
                        " are one folder: a run has no difference to itself");
      }
    }
  }
}

/// The run as a comparison sees it; what is to be said of it goes to the warnings.
ComparedRun compared(const Run& run, const Question& question, const std::string& name,
                     std::vector<std::string>& warnings) {
  ComparedRun compared{
      .name = name, .answer = question.analyse(run), .conditions = conditions_of(run)};
  if (run.info.end != RunEnd::complete) {
    warnings.push_back(name + " did not end as planned (" + text(run.info.end) +
                       "): what is compared is what there is of it.");
  }
  if (!run.delivery.errors.empty()) {
    warnings.push_back(name + ": " + run.delivery.errors.front());
  }
  return compared;
}

ExitStatus status_of(Verdict verdict) {
  switch (verdict) {
    case Verdict::same:
      return kAnswered;
    case Verdict::better:
      return kBetter;
    case Verdict::worse:
      return kWorse;
    case Verdict::different:
      return kDifferent;
    case Verdict::unknown:
      break;
  }
  return kNotDecided;
}

}  // namespace

void add_compare_options(CLI::App& app, CompareOptions& options) {
  app.add_option("FOLDER", options.folders,
                 "folders of two runs or more; each is compared with the "
                 "first one")
      ->required()
      ->expected(2, 100)
      ->option_text(" ");
  app.add_option("--least", options.rules.least,
                 "a difference counts beyond so many percent; of temperatures K, of phases "
                 "degrees (default: 1)")
      ->check(number_from(0.0, 1000.0))
      ->option_text("<percent>");
  app.add_option("--key", options.rules.keys, "compare this key; may be repeated (default: all)")
      ->expected(1)
      ->take_all()
      ->option_text("<key>");
  app.add_option("--out", options.out, "folder for the result (default: compare-DATE-TIME)")
      ->option_text("<folder>");
  app.add_flag("--json", options.json, "print the result as JSON");
}

ExitStatus compare_runs(const CompareOptions& options, const std::vector<std::string>& command) {
  refuse_the_same_twice(options.folders);
  const auto questions = all_questions();
  const std::vector<std::string> names = names_of(options.folders);
  std::vector<ComparedRun> runs;
  std::vector<std::string> warnings;
  std::string kind;
  for (std::size_t at = 0; at < options.folders.size(); ++at) {
    const Run run = RunFolder(options.folders[at]).read();
    if (kind.empty()) {
      kind = kind_of(run);
    }
    const Question* question = find_question(questions, run.info.question);
    if (question == nullptr) {
      throw PlanError(options.folders[at] + ": there is no question \"" + run.info.question + "\"");
    }
    if (kind_of(run) != kind) {
      throw PlanError(options.folders.front() + " is a run of " + kind + ", and " +
                      options.folders[at] + " one of " + kind_of(run) +
                      ": their answers cannot be compared");
    }
    runs.push_back(compared(run, *question, names[at], warnings));
  }
  Comparison comparison = compare(runs, options.rules);
  Answer& answer = comparison.answer;
  answer.warnings.insert(answer.warnings.begin(), warnings.begin(), warnings.end());

  Run page;  // the report is one of a run, here of none
  page.info.question = "compare";
  for (std::size_t at = 0; at < names.size(); ++at) {
    const bool last = at + 1 == names.size();
    page.info.subject += (at == 0 ? "" : last ? " and " : ", ") + names[at];
  }
  page.info.end = RunEnd::complete;
  note_machine(page.info);
  page.info.ended = page.info.begun;
  page.info.command = command;
  const RunFolder folder = RunFolder::create(
      options.out.empty() ? default_folder("compare") : options.out, "result.json");
  folder.write_result(page, answer);
  std::ostringstream html;
  write_report(html, page, answer, installed_assets());
  write_whole(folder.report(), html.str());
  if (options.json) {
    std::cout << result_text(page, answer);
  } else {
    write_summary(std::cout, answer, letters_of_output());
    std::cout << "\nreport: " << folder.report().string() << '\n';
  }
  if (!std::cout.flush()) {
    throw AfterAnswer("the answer could not be printed; it is in " + folder.result().string());
  }
  return status_of(comparison.verdict);
}

}  // namespace lab
