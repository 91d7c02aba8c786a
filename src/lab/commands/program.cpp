#include "lab/commands/program.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <functional>
#include <iostream>

#include "lab/commands/command_line.h"
#include "lab/commands/exit_status.h"
#include "lab/engine_process/caller.h"
#include "lab/engine_process/engine_error.h"
#include "lab/engine_process/machine.h"
#include "lab/folder/csv_table.h"
#include "lab/folder/folder_error.h"
#include "lab/plan/plan_error.h"
#include "lab/report/plot.h"

namespace lab {

namespace {

/// Runs a command; says what keeps it from its end, and returns the status for it.
int guarded(const std::function<ExitStatus()>& command) {
  const auto say = [](const std::exception& error) {
    std::cerr << machine().program << ": " << error.what() << '\n';
  };
  try {
    return command();
  } catch (const PlanError& error) {
    say(error);
    return kWrongCommandLine;
  } catch (const CsvError& error) {
    say(error);
    return kWrongCommandLine;
  } catch (const EngineError& error) {
    say(error);
    return kNotRun;
  } catch (const FolderError& error) {
    say(error);
    return kNotWritten;
  } catch (const PlotError& error) {
    say(error);
    return kNotWritten;
  }
}

}  // namespace

int program(int argc, char* argv[]) {
  return guarded([&] {
    become_caller();
    std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is a full disk
    CommandLine line(machine().program);
    try {
      line.app().parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      // 0: help or version was asked for, and printed.
      return line.app().exit(error) == 0 ? kAnswered : kWrongCommandLine;
    }
    return line.run(std::vector<std::string>(argv, argv + argc));
  });
}

}  // namespace lab
