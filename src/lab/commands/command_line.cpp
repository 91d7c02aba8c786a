#include "lab/commands/command_line.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "lab/commands/doctor_command.h"
#include "lab/commands/plan_json.h"
#include "lab/commands/run_command.h"
#include "lab/commands/version.h"
#include "lab/engine_process/engine_options.h"
#include "lab/engine_process/machine_keys.h"
#include "lab/plan/plan_error.h"
#include "lab/plan/plan_file.h"

namespace lab {

namespace {

// Of the options that shape a question's own plan.
constexpr const char* kOwnGroup = "The plan";

/// Adds the options that the question alone has, as a group of their own.
void add_own_options(Question& question, CLI::App& command) {
  command.option_defaults()->group(kOwnGroup);
  question.add_options(command);
  command.option_defaults()->group("Options");
}

/// The command that was typed, with those that it belongs to: "vorn-lab plan step".
struct Typed {
  const CLI::App* command;
  std::string words;
};

Typed typed(const CLI::App& app) {
  Typed typed{.command = &app, .words = app.get_name()};
  while (!typed.command->get_subcommands().empty()) {
    typed.command = typed.command->get_subcommands().back();
    typed.words += " " + typed.command->get_name();
  }
  return typed;
}

std::string joined(const std::vector<std::string>& words) {
  std::string all;
  for (const std::string& word : words) {
    all += (all.empty() ? "" : " ") + word;
  }
  return all;
}

/// What to say of a word that is no command where one is needed.
std::string no_command(const CLI::App& app, const std::string& word) {
  if (app.get_name() != "plan") {
    return "there is no command \"" + word + "\"";
  }
  return word == "run"
             ? "run has no plan of its own: it takes options of vorn-engine, or with --plan "
               "the file of a plan"
             : "there is no plan of \"" + word + "\"";
}

/// What is wrong with a command line, in words.
std::string what_is_wrong(const CLI::App& app, const CLI::Error& error) {
  const CLI::App& command = *typed(app).command;
  const std::vector<std::string> unknown = command.remaining();
  const int code = error.get_exit_code();
  if (!unknown.empty() && code == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
    return "not expected: " + joined(unknown);
  }
  const bool takes_command = !command.get_subcommands({}).empty();
  if (!unknown.empty() && takes_command && !unknown[0].starts_with('-') &&
      code == static_cast<int>(CLI::ExitCodes::RequiredError)) {
    return no_command(command, unknown[0]);
  }
  return error.what();
}

/// The same for the person who typed it, with the help of what was typed.
std::string wrong_command_line(const CLI::App* app, const CLI::Error& error) {
  return app->get_name() + ": " + what_is_wrong(*app, error) + "\n\"" + typed(*app).words +
         " --help\" shows what there is\n";
}

}  // namespace

CommandLine::CommandLine(const std::string& program)
    : program_(program),
      app_(std::make_unique<CLI::App>("Answers questions about the cooling and power of a machine: "
                                      "plans a run of vorn-engine,\n"
                                      "watches it, analyses it, and writes a report.",
                                      program)),
      questions_(all_questions()) {
  app_->require_subcommand(1);
  app_->set_version_flag("--version", program + " " + kProgramVersion);
  app_->footer(
      "Each command has a --help of its own. Exit status: 0 answered, 1 the data cannot "
      "answer,\n2 wrong command line or plan, 3 nothing was run, 4 a file cannot be read "
      "or written,\n5 the run ended early and was analysed, 130 ended by Ctrl-C and "
      "analysed;\nof compare: 0 no difference, 6 better, 7 worse, 8 different.");
  app_->failure_message(wrong_command_line);
  add_run();
  add_questions();
  add_plan();
  add_others();
}

CommandLine::~CommandLine() = default;

ExitStatus CommandLine::run(const std::vector<std::string>& words) {
  words_ = words;
  return chosen_();
}

std::string CommandLine::complaint(const CLI::Error& error) const {
  return what_is_wrong(*app_, error);
}

CLI::App* CommandLine::add(CLI::App& parent, const char* name, const std::string& summary,
                           const std::string& example) {
  CLI::App* command = parent.add_subcommand(name, summary);
  command->footer("Example:\n  " + program_ + " " + example);
  return command;
}

Plan CommandLine::plan_of(const Question& question, const CLI::App& command) const {
  const auto own = [&](const CLI::Option* option) {
    return option->count() > 0 && option->get_group() == kOwnGroup;
  };
  const std::vector<const CLI::Option*> given = command.get_options(own);
  if (!plan_options_.plan_file.empty() && !given.empty()) {
    throw PlanError(given[0]->get_name() + " shapes the plan of " + question.name() +
                    ", and --plan brings another: leave one of them out");
  }
  Plan plan =
      plan_options_.plan_file.empty() ? question.plan() : read_plan(plan_options_.plan_file);
  if (plan.question != question.name()) {
    throw PlanError(plan_options_.plan_file + ": a plan for \"" + plan.question +
                    "\": run it with \"" + program_ + " " + plan.question + "\"");
  }
  apply(plan_options_, plan);
  question.complete(plan, {.keys = [] { return machine_keys(); },
                           .pstates = [] { return pstates_in(machine_check()); }});
  return plan;
}

void CommandLine::add_run() {
  const Question& question = *find_question(questions_, "run");
  CLI::App* command = add(*app_, question.name(), question.summary(), question.example());
  add_output_options(*command, output_);
  command->add_option("--plan", plan_options_.plan_file, "run the plan in this file")
      ->option_text("<file>");
  command->allow_extras();
  command->prefix_command(false);
  command->footer("Every other option is one of vorn-engine: see vorn-engine(1).\n\nExample:\n  " +
                  program_ + " " + question.example());
  command->callback([this, command, &question] {
    chosen_ = [this, command, &question] {
      Plan plan = plan_of(question, *command);
      const std::vector<std::string> options = command->remaining();
      if (!plan_options_.plan_file.empty() && !options.empty()) {
        throw PlanError("options of the engine and --plan exclude each other");
      }
      if (plan_options_.plan_file.empty()) {
        plan.engine_options = options;
      }
      if (plan.phases.empty() && plan.engine_options.empty()) {
        throw PlanError(
            "there is nothing to run: give options of vorn-engine, such as -w bmix -t 60");
      }
      const std::vector<std::string> keys = read_engine_options(plan.engine_options).keys;
      if (!keys.empty()) {
        plan.keys = keys;
      }
      return run_plan(question, plan, output_, words_);
    };
  });
}

void CommandLine::add_questions() {
  for (const auto& question : questions_) {
    if (!question->has_command()) {
      continue;
    }
    CLI::App* command = add(*app_, question->name(), question->summary(), question->example());
    add_own_options(*question, *command);
    add_plan_options(*command, plan_options_, question->defaults());
    add_output_options(*command, output_);
    command->callback([this, command, &question] {
      chosen_ = [this, command, &question] {
        return run_plan(*question, plan_of(*question, *command), output_, words_);
      };
    });
  }
}

void CommandLine::add_plan() {
  CLI::App* plan =
      add(*app_, "plan", "print the plan behind a command, to change and run with --plan",
          "plan step > my.toml");
  plan->require_subcommand(1);
  for (const auto& question : questions_) {
    if (!question->has_command()) {
      continue;
    }
    CLI::App* command = add(*plan, question->name(), question->summary(),
                            std::string("plan ") + question->name() + " > my.toml");
    add_own_options(*question, *command);
    add_plan_options(*command, plan_options_, question->defaults());
    command->add_flag("--json", json_, "print it as JSON");
    command->callback([this, command, &question] {
      chosen_ = [this, command, &question] {
        const Plan printed = plan_of(*question, *command);
        std::cout << (json_ ? plan_json(printed) : plan_text(printed, program_));
        return kAnswered;
      };
    });
  }
}

void CommandLine::add_others() {
  CLI::App* fit_app = add(*app_, "fit", "the analysis of step on anybody's table",
                          "fit measured.csv --time seconds --power watts --temperature die");
  add_fit_options(*fit_app, fit_);
  fit_app->callback([this] { chosen_ = [this] { return fit(fit_, words_); }; });

  CLI::App* compare = add(*app_, "compare", "runs laid over each other: better, same or worse",
                          "compare old-paste new-paste; echo $?");
  add_compare_options(*compare, compare_);
  compare->callback([this] { chosen_ = [this] { return compare_runs(compare_, words_); }; });

  CLI::App* report =
      add(*app_, "report", "analyse a run again, and write its report again", "report first-step");
  report->add_option("FOLDER", report_folder_, "folder of the run")->required()->option_text(" ");
  report->add_flag("--json", json_, "print the result as JSON");
  report->callback([this] { chosen_ = [this] { return report_again(report_folder_, json_); }; });

  CLI::App* plot =
      add(*app_, "plot", "a picture of a run: PNG, SVG or PDF", "plot first-step --to step.png");
  plot->add_option("FOLDER", plot_.folder, "folder of the run")->required()->option_text(" ");
  plot->add_option("--to", plot_.to,
                   "file of the picture, ending in .png, .svg or .pdf (default: plot.png)")
      ->option_text("<file>");
  plot->add_option("--chart", plot_.chart,
                   "number or title of a chart of the report (default: the samples over time)")
      ->option_text("<chart>");
  plot->add_flag("--json", plot_.json, "print the name of the file as JSON");
  plot->callback([this] { chosen_ = [this] { return plot_run(plot_); }; });

  CLI::App* checkup =
      add(*app_, "doctor", "what can be asked of this machine, and what is missing", "doctor");
  checkup->add_flag("--json", json_, "print it as JSON");
  checkup->callback([this] { chosen_ = [this] { return doctor(json_); }; });
}

}  // namespace lab
