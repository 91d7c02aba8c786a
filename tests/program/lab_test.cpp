#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "support/program.h"

// Whole runs of the lab on the simulated machine: every command, and every way for a run to end.

namespace {

namespace fs = std::filesystem;
using program::As;
using program::Command;
using program::Outcome;
using program::Running;
using testing::HasSubstr;
using Json = nlohmann::json;

/// A place where any user may write, which is gone with the test.
class Lab : public testing::Test {
 protected:
  Lab() {
    fs::create_directory(place_);
    chmod(place_.c_str(), 0777);
  }
  ~Lab() override { fs::remove_all(place_); }

  static Command lab(std::vector<std::string> arguments, As as = As::kUserWithFixedPriority) {
    Command command;
    command.path = VORN_LAB_SIM_PROGRAM;
    command.arguments = std::move(arguments);
    command.as = as;
    command.called = "vorn-lab-sim";
    return command;
  }

  std::string folder(const std::string& name = "run") const { return place_ / name; }

  /// A step on one processor that takes some seconds, or longer if it is heated for longer.
  std::vector<std::string> short_step(std::vector<std::string> more = {},
                                      const char* heat = "2") const {
    std::vector<std::string> arguments{"step",   "--out",  folder(), "--threads", "1",
                                       "--load", "bspin",  "--idle", "0.5",       "--heat",
                                       heat,     "--cool", "1.5"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  static std::string read(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  Json json(const char* file, const std::string& name = "run") const {
    return Json::parse(read(fs::path(folder(name)) / file), nullptr, false);
  }

  /// The lines of samples.csv, without its head.
  int samples() const {
    const std::string text = read(fs::path(folder()) / "samples.csv");
    return static_cast<int>(std::count(text.begin(), text.end(), '\n')) - 1;
  }

  /// Waits until the run has some samples in its folder.
  bool wait_for_samples(int count) const {
    using namespace std::chrono_literals;
    for (int look = 0; look < 600; ++look) {
      if (samples() >= count) {
        return true;
      }
      std::this_thread::sleep_for(100ms);
    }
    return false;
  }

  const fs::path place_ = fs::temp_directory_path() / ("lab." + std::to_string(getpid()));
};

TEST_F(Lab, AStepLeavesAFolderWithEverythingInIt) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = program::run(lab(short_step()));
  EXPECT_LE(outcome.status, 1) << outcome.err;  // 1: two seconds may not decide
  for (const char* file :
       {"plan.toml", "run.json", "samples.csv", "stimulus", "result.json", "report.html"}) {
    EXPECT_TRUE(fs::exists(fs::path(folder()) / file)) << file;
  }
  EXPECT_FALSE(fs::exists(fs::path(folder()) / "samples.engine"));
  EXPECT_THAT(outcome.out, HasSubstr("report: " + folder() + "/report.html"));
  EXPECT_THAT(outcome.out, HasSubstr("Warning: the fans are left to the machine"));
  const Json info = json("run.json");
  EXPECT_EQ(info["end"], "complete");
  EXPECT_EQ(info["machine"]["simulated"], true);
  EXPECT_EQ(info["engine_status"], 0);
  EXPECT_THAT(info["warnings"].dump(), HasSubstr("the fans are left to the machine"));
  const Json result = json("result.json");
  EXPECT_EQ(result["version"], 1);
  EXPECT_EQ(result["question"], "step");
  EXPECT_TRUE(result["keys"]["TC0D"].contains("resistance"));
  EXPECT_GE(samples(), 25);
}

TEST_F(Lab, SamplesHaveWhatWasAskedAndDeliveredBesideEveryResponse) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  program::run(lab(short_step({"--quiet"})));
  std::istringstream lines(read(fs::path(folder()) / "samples.csv"));
  std::string line;
  std::getline(lines, line);
  EXPECT_THAT(line, testing::StartsWith("time_s,phase,asked,delivered,others,PC0C,TC0D,TC0P,"));
  int idle = 0;
  int loaded = 0;
  double delivered_under_load = 0;
  while (std::getline(lines, line)) {
    std::replace(line.begin(), line.end(), ',', ' ');
    std::istringstream cells(line);
    double time_s = 0;
    double phase = 0;
    double asked = 0;
    double delivered = 0;
    if (!(cells >> time_s >> phase >> asked >> delivered)) {
      continue;  // the first line has no time before it
    }
    if (phase == 1 && asked == 1) {
      ++loaded;
      delivered_under_load += delivered;
    } else if (phase == 2 && asked == 0) {
      ++idle;
    }
  }
  EXPECT_GE(loaded, 12);
  EXPECT_GE(idle, 8);
  const double one = 1.0 / std::max(1U, std::thread::hardware_concurrency());
  EXPECT_GT(delivered_under_load / loaded, 0.5 * one);
  EXPECT_LT(delivered_under_load / loaded, 1.1 * one);
}

TEST_F(Lab, APlanIsPrintedAndRunAsItWas) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome plan =
      program::run(lab({"plan", "step", "--idle", "1", "--heat", "2", "--cool", "1", "--load",
                        "bspin", "--key", "PC0C", "--key", "TC0D"}));
  ASSERT_EQ(plan.status, 0) << plan.err;
  std::ofstream(place_ / "my.toml") << plan.out;
  const Outcome outcome =
      program::run(lab({"step", "--plan", place_ / "my.toml", "--out", folder(), "--quiet"}));
  EXPECT_LE(outcome.status, 1) << outcome.err;
  EXPECT_EQ(read(fs::path(folder()) / "plan.toml"), plan.out);
  EXPECT_THAT(json("run.json")["engine_commands"][0].dump(), HasSubstr("\"bspin\""));
  const Outcome as_json = program::run(lab({"plan", "step", "--json"}));
  EXPECT_EQ(Json::parse(as_json.out, nullptr, false)["phase"].size(), 3U) << as_json.out;
}

TEST_F(Lab, ARunTakesTheOptionsOfTheEngine) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome =
      program::run(lab({"run", "--out", folder(), "--json", "-w", "bspin", "-c", "1", "-f", "20",
                        "--duty", "0.5", "-t", "2", "-k", "PC0C"}));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const Json result = Json::parse(outcome.out, nullptr, false);
  EXPECT_EQ(result["question"], "run");
  EXPECT_EQ(result["end"], "complete");
  EXPECT_TRUE(result["keys"].contains("PC0C")) << outcome.out;
  EXPECT_FALSE(result["keys"].contains("TC0D"));
}

TEST_F(Lab, AnotherLoadIsAnotherStartOfTheSameRun) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const auto play = [&](const std::string& name, const char* second) {
    std::ofstream(place_ / (name + ".toml"))
        << "question = \"run\"\nthreads = 1\nload = \"bspin\"\n"
        << "[[phase]]\nname = \"one\"\nduty = 0.5\nduration = 1\n"
        << "[[phase]]\nname = \"two\"\nduty = 0.5\nduration = 1\nload = \"" << second << "\"\n";
    return program::run(lab({"run", "--plan", place_ / (name + ".toml"), "--out", folder(name)}));
  };
  const Outcome both = play("both", "bint");
  EXPECT_EQ(both.status, 0) << both.err;
  EXPECT_EQ(json("run.json", "both")["engine_commands"].size(), 2U);
  const std::string samples = read(fs::path(folder("both")) / "samples.csv");
  EXPECT_THAT(samples, testing::ContainsRegex("\n[0-9.]+,0,"));
  EXPECT_THAT(samples, testing::ContainsRegex("\n[0-9.]+,1,"));

  const Outcome refused = play("refused", "spin");  // follows no waveform
  EXPECT_EQ(refused.status, 5) << refused.err;
  EXPECT_EQ(json("run.json", "refused")["end"], "failed");
  EXPECT_THAT(read(fs::path(folder("refused")) / "samples.csv"),
              testing::ContainsRegex("\n[0-9.]+,0,"));
}

TEST_F(Lab, CtrlCEndsARunInOrderAndAnalysesIt) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  Running running(lab(short_step({}, "5m")));
  ASSERT_TRUE(wait_for_samples(10));
  running.send(SIGINT);
  const Outcome outcome = running.wait();
  EXPECT_EQ(outcome.status, 130) << outcome.err;
  EXPECT_EQ(json("run.json")["end"], "interrupted");
  EXPECT_TRUE(fs::exists(fs::path(folder()) / "report.html"));
  EXPECT_EQ(json("result.json")["end"], "interrupted");
}

TEST_F(Lab, AKilledRunCanBeReadAndSaysThatItWasCutShort) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  {
    Running running(lab(short_step({}, "5m")));
    ASSERT_TRUE(wait_for_samples(10));
    running.send(SIGKILL);
    EXPECT_EQ(running.wait().signal, SIGKILL);
  }
  EXPECT_EQ(json("run.json")["end"], "cut short");
  // The engine ends with the lab; what it had written by then is found.
  using namespace std::chrono_literals;
  for (int look = 0;
       look < 300 && read(fs::path(folder()) / "stimulus").find("\nend\t") == std::string::npos;
       ++look) {
    std::this_thread::sleep_for(100ms);
  }
  const int written = samples();
  const Outcome report = program::run(lab({"report", folder(), "--json"}));
  EXPECT_LE(report.status, 1) << report.err;
  EXPECT_EQ(Json::parse(report.out, nullptr, false)["end"], "cut short");
  EXPECT_THAT(read(fs::path(folder()) / "stimulus"), HasSubstr("\nend\t"));
  EXPECT_GE(samples(), written);
  EXPECT_TRUE(fs::exists(fs::path(folder()) / "report.html"));
}

TEST_F(Lab, AnEngineThatEndsBeforeThePlanDoesIsNoCompleteRun) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  Running running(lab(short_step({}, "5m")));
  ASSERT_TRUE(wait_for_samples(10));
  const std::string pid = std::to_string(running.pid());
  const std::string engine = read("/proc/" + pid + "/task/" + pid + "/children");
  ASSERT_NE(engine, "");
  ASSERT_EQ(kill(std::stoi(engine), SIGTERM), 0);  // it ends in order, with status 0
  const Outcome outcome = running.wait();
  EXPECT_EQ(outcome.status, 5) << outcome.err;
  EXPECT_EQ(json("run.json")["end"], "failed");
  EXPECT_THAT(outcome.out, HasSubstr("Warning: This run failed"));
}

TEST_F(Lab, APlanOfPhasesIsRunWithTheKeysThatItNames) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  std::ofstream(place_ / "my.toml") << "load = \"bspin\"\nkeys = [\"TC0D\"]\n"
                                       "[[phase]]\nduty = 0.5\nduration = 1\n"
                                       "[[phase]]\ntriangle = 1\nduration = \"2s\"\n";
  const Outcome outcome =
      program::run(lab({"run", "--plan", place_ / "my.toml", "--out", folder(), "--json"}));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const Json result = Json::parse(outcome.out, nullptr, false);
  EXPECT_TRUE(result["keys"].contains("TC0D")) << outcome.out;
  EXPECT_FALSE(result["keys"].contains("TC0P"));
}

TEST_F(Lab, ALimitEndsARunAndWhatThereIsIsAnalysed) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = program::run(lab(short_step({"--limit", "TC0D=36"}, "2m")));
  EXPECT_EQ(outcome.status, 5) << outcome.err;
  EXPECT_EQ(json("run.json")["end"], "limit reached");
  EXPECT_EQ(json("result.json")["end"], "limit reached");
}

TEST_F(Lab, TheSameRunAlwaysGivesTheSameNumbers) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  program::run(lab(short_step({"--quiet"})));
  const std::string first = read(fs::path(folder()) / "result.json");
  const std::string page = read(fs::path(folder()) / "report.html");
  EXPECT_LE(program::run(lab({"report", folder()})).status, 1);
  EXPECT_EQ(read(fs::path(folder()) / "result.json"), first);
  EXPECT_EQ(read(fs::path(folder()) / "report.html"), page);
}

TEST_F(Lab, AFullDiskIsSaidAndTheRunGoesOn) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  Command command = lab({});
  command.path = "/bin/sh";
  // Blocks of 512 bytes: room for the first lines of samples.csv, and no more.
  std::string line = "ulimit -f 6; exec \"$0\" \"$@\"";
  command.arguments = {"-c", line, VORN_LAB_SIM_PROGRAM};
  for (const std::string& argument : short_step()) {
    command.arguments.push_back(argument);
  }
  const Outcome outcome = program::run(command);
  EXPECT_EQ(outcome.status, 4) << outcome.err << outcome.out;
  EXPECT_THAT(outcome.err, HasSubstr("File too large"));
}

TEST_F(Lab, AFolderThatIsThereIsNotTouched) {
  fs::create_directory(folder());
  std::ofstream(fs::path(folder()) / "precious") << "data";
  const Outcome outcome = program::run(lab(short_step(), As::kOrdinaryUser));
  EXPECT_EQ(outcome.status, 4);
  EXPECT_THAT(outcome.err, HasSubstr("choose another with --out"));
  EXPECT_EQ(read(fs::path(folder()) / "precious"), "data");
}

TEST_F(Lab, WhatCannotBeDoneIsSaidWithItsRemedy) {
  const auto says = [&](std::vector<std::string> arguments, int status, const char* text) {
    const Outcome outcome = program::run(lab(std::move(arguments), As::kOrdinaryUser));
    EXPECT_EQ(outcome.status, status) << text;
    EXPECT_THAT(outcome.err, HasSubstr(text));
    EXPECT_EQ(outcome.out, "");
  };
  says(short_step({"--key", "NOPE"}), 3, "no key \"NOPE\": \"vorn-keys-sim\" lists those");
  says(short_step({"--fans", "fast"}), 2, "--fans takes");
  says({"step", "--out", folder(), "--load", "nope"}, 3, "nope");
  says({"run", "-o", "x"}, 2, "-o is not for run");
  says({"step", "--plan", "/nowhere/plan.toml"}, 2, "/nowhere/plan.toml: No such file");
  says({"report", "/nowhere"}, 4, "/nowhere: no run.json in it");
  says({"step", "--colour"}, 2, "--colour");
  says({}, 2, "vorn-lab-sim: A subcommand is required");
  says({"stepp"}, 2, "vorn-lab-sim: there is no command \"stepp\"");
  std::ofstream(place_ / "bad.toml") << "question = \"step\"\nrrate = 3\n";
  says({"step", "--heat", "9", "--plan", place_ / "bad.toml"}, 2, "--heat shapes the plan of step");
  says({"step", "--plan", place_ / "bad.toml"}, 2, "bad.toml:2:1: unknown word \"rrate\"");
}

TEST_F(Lab, AnybodysTableIsAnalysedAsAStepIs) {
  std::ofstream table(place_ / "measured.csv");
  table << "seconds;watts;die\n";
  // One stage: 0.5 K/W, 4 s; 20 W from second 5 to 45.
  double rise = 0;
  for (int row = 0; row <= 900; ++row) {
    const double time_s = row * 0.1;
    const double power = time_s > 5 && time_s <= 45 ? 20 : 0;
    rise += row == 0 ? 0 : (0.5 * power - rise) * (1 - std::exp(-0.1 / 4));
    table << time_s << ';' << power << ';' << 25 + rise << '\n';
  }
  table.close();
  const Outcome outcome = program::run(
      lab({"fit", place_ / "measured.csv", "--power", "watts", "--out", folder(), "--json"},
          As::kOrdinaryUser));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const Json die = Json::parse(outcome.out)["keys"]["die"];
  EXPECT_NEAR(die["resistance"]["value"].get<double>(), 0.5, 0.005);
  ASSERT_EQ(die["stages"].size(), 1U) << die.dump();
  EXPECT_NEAR(die["stages"][0]["time_constant"]["value"].get<double>(), 4, 0.04);
}

TEST_F(Lab, ATableThatBeginsWithThePowerNeedsNoColumnForIt) {
  std::ofstream table(place_ / "constant.csv");
  table << "t,die\n";
  for (int row = 0; row < 2000; ++row) {
    const double time_s = row * 0.1;
    table << time_s << ',' << 25 + 20 * 0.5 * (1 - std::exp(-time_s / 25)) << '\n';
  }
  table.close();
  const Outcome outcome = program::run(
      lab({"fit", place_ / "constant.csv", "--watts", "20", "--out", folder(), "--json"},
          As::kOrdinaryUser));
  ASSERT_EQ(outcome.status, 0) << outcome.err << outcome.out;
  const Json die = Json::parse(outcome.out)["keys"]["die"];
  EXPECT_NEAR(die["resistance"]["value"].get<double>(), 0.5, 0.005);
}

TEST_F(Lab, RootReadsNoFileForItsCaller) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  std::ofstream(place_ / "secret") << "the secret\n";
  chmod((place_ / "secret").c_str(), 0600);
  Command command = lab({"run", "--out", folder(), "-w", "bspin", "-f", "20", "--profile",
                         place_ / "secret", "-t", "1"},
                        As::kRoot);
  command.environment = {"SUDO_UID=65534"};
  const Outcome outcome = program::run(command);
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, HasSubstr("secret: Permission denied"));
  EXPECT_THAT(outcome.err, testing::Not(HasSubstr("the secret")));
}

TEST_F(Lab, TheDoctorNamesWhatEachQuestionLacks) {
  const Outcome words = program::run(lab({"doctor"}, As::kOrdinaryUser));
  EXPECT_THAT(words.out, HasSubstr("ok     run: all that it needs is here\n"));
  EXPECT_THAT(words.out, HasSubstr("lacks  step: no fan can be held"));
  const Outcome json = program::run(lab({"doctor", "--json"}, As::kOrdinaryUser));
  EXPECT_TRUE(Json::parse(json.out, nullptr, false)["lacks"].contains("step")) << json.out;
}

TEST_F(Lab, EveryCommandHasAnExampleInItsHelp) {
  for (const char* command : {"run", "step", "plan", "fit", "report", "plot", "doctor"}) {
    const Outcome outcome = program::run(lab({command, "--help"}, As::kOrdinaryUser));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr(std::string("Example:\n  vorn-lab-sim ") + command));
  }
}

TEST_F(Lab, CalledThroughSudoTheFilesAreTheUsersAndTheFansAreHeld) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  constexpr uid_t kUser = 65534;
  Command command = lab(short_step(), As::kRoot);
  command.environment = {"SUDO_UID=" + std::to_string(kUser)};
  const Outcome outcome = program::run(command);
  EXPECT_LE(outcome.status, 1) << outcome.err;
  for (const auto& entry : fs::directory_iterator(folder())) {
    struct stat status {};
    ASSERT_EQ(stat(entry.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kUser) << entry.path();
  }
  EXPECT_EQ(json("run.json")["fans"], "held at their maximum");
  EXPECT_EQ(json("run.json")["end"], "complete");
}

}  // namespace
