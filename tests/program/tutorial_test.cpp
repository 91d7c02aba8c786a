#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "support/program.h"

// The tutorial is carried out: every command of docs/lab.md, in its order and in one fresh folder.

namespace {

namespace fs = std::filesystem;
using program::As;

/// A command of the page.
struct Step {
  int line = 0;
  std::string command;
  std::set<int> statuses{0};  ///< or what the page says: "# status N" or "# status N or M"
};

/// The lines that begin with "$ " in the blocks of the page that are consoles.
std::vector<Step> commands_of(const std::string& page) {
  static const std::regex kStatus("# status ([0-9]+)( or ([0-9]+))?$");
  std::vector<Step> steps;
  std::ifstream in(page);
  bool console = false;
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (line.starts_with("```")) {
      console = line == "```console";
    } else if (console && line.starts_with("$ ")) {
      Step step{.line = number, .command = line.substr(2)};
      if (std::smatch found; std::regex_search(line, found, kStatus)) {
        step.statuses = {std::stoi(found[1]), std::stoi(found[found[3].matched ? 3 : 1])};
      }
      steps.push_back(step);
    }
  }
  return steps;
}

/// A folder where any user may write, gone with the object.
class Place {
 public:
  Place() {
    fs::create_directory(path_);
    chmod(path_.c_str(), 0777);
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;
  ~Place() { fs::remove_all(path_); }
  const fs::path& path() const { return path_; }

 private:
  const fs::path path_ = fs::temp_directory_path() / ("tutorial." + std::to_string(getpid()));
};

TEST(Tutorial, EveryCommandOfThePageEndsAsThePageSays) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  if (access("/usr/bin/gnuplot", X_OK) != 0) {
    GTEST_SKIP() << "no gnuplot, which the page draws pictures with (install gnuplot-nox)";
  }
  const std::vector<Step> steps = commands_of(VORN_TUTORIAL);
  ASSERT_GE(steps.size(), 10U) << VORN_TUTORIAL;
  const Place place;
  for (const Step& step : steps) {
    program::Command command;
    command.path = "/bin/sh";
    command.arguments = {"-c", "cd '" + place.path().string() + "' && " + step.command};
    command.as = As::kUserWithFixedPriority;
    command.called = "sh";
    command.environment = {"PATH=" + fs::path(VORN_LAB_SIM_PROGRAM).parent_path().string() +
                           ":/usr/bin:/bin"};
    const program::Outcome outcome = program::run(command);
    EXPECT_TRUE(step.statuses.contains(outcome.status))
        << outcome.status << ": docs/lab.md:" << step.line << ": " << step.command << '\n'
        << outcome.out << outcome.err;
  }
}

}  // namespace
