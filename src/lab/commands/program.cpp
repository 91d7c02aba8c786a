#include "lab/commands/program.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <nlohmann/json.hpp>

#include "lab/commands/answering.h"
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

/// What a script is told that asked for JSON, and for which there is none: standard output is JSON
/// in every case.
void print_error(const std::string& error, ExitStatus status) {
  using Json = nlohmann::ordered_json;
  const Json json{{"version", 1}, {"error", error}, {"status", static_cast<int>(status)}};
  std::cout << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n' << std::flush;
}

/// Runs a command; says what keeps it from its end, and returns the status for it.
int guarded(bool json, const std::function<ExitStatus()>& command) {
  const auto say = [](const std::string& error) {
    std::cerr << machine().program << ": " << error << '\n';
  };
  const auto failed = [&](const std::exception& error, ExitStatus status) {
    say(error.what());
    if (json) {
      print_error(error.what(), status);
    }
    return status;
  };
  try {
    const ExitStatus status = command();
    if (!std::cout.flush()) {
      say("standard output takes no more: " + std::string(std::strerror(errno)));
      return kNotWritten;
    }
    return status;
  } catch (const PlanError& error) {
    return failed(error, kWrongCommandLine);
  } catch (const CsvError& error) {
    return failed(error, kWrongCommandLine);
  } catch (const EngineError& error) {
    return failed(error, kNotRun);
  } catch (const AfterAnswer& error) {
    say(error.what());
    return kNotWritten;
  } catch (const FolderError& error) {
    return failed(error, kNotWritten);
  } catch (const PlotError& error) {
    return failed(error, kNotWritten);
  } catch (const std::filesystem::filesystem_error& error) {
    return failed(error, kNotWritten);
  }
}

}  // namespace

int program(int argc, char* argv[]) {
  const std::vector<std::string> words(argv, argv + argc);
  const bool json = std::find(words.begin(), words.end(), "--json") != words.end();
  return guarded(json, [&]() -> ExitStatus {
    become_caller();
    std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is a full disk
    CommandLine line(machine().program);
    try {
      line.app().parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      if (line.app().exit(error) == 0) {
        return kAnswered;  // help or version was asked for, and printed
      }
      if (json) {
        print_error(line.complaint(error), kWrongCommandLine);
      }
      return kWrongCommandLine;
    }
    return line.run(words);
  });
}

}  // namespace lab
