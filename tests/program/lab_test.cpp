#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <sstream>

#include "program/lab_program.h"

// Whole runs of the lab on the simulated machine: every command.

namespace {

using namespace lab_program;
using program::Outcome;
using testing::HasSubstr;

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
  Json info = json("run.json");
  EXPECT_EQ(info["end"], "complete");
  EXPECT_EQ(info["machine"]["simulated"], true);
  EXPECT_EQ(info["engine_status"], 0);
  EXPECT_THAT(info["warnings"].dump(), HasSubstr("the fans are left to the machine"));
  Json result = json("result.json");
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
  const double one = 1.0 / std::max(1U, std::thread::hardware_concurrency());  // processor of all
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
    if (phase == 1 && std::abs(asked - one) < 1e-3) {
      ++loaded;
      delivered_under_load += delivered;
    } else if (phase == 2 && asked == 0) {
      ++idle;
    }
  }
  EXPECT_GE(loaded, 12);
  EXPECT_GE(idle, 8);
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
  Json result = Json::parse(outcome.out, nullptr, false);
  EXPECT_EQ(result["question"], "run");
  EXPECT_EQ(result["end"], "complete");
  EXPECT_TRUE(result["keys"].contains("PC0C")) << outcome.out;
  EXPECT_FALSE(result["keys"].contains("TC0D"));
}

/// A plan of two phases of a second, the second with other members.
class LabWithTwoStarts : public lab_program::Lab {
 protected:
  Outcome play(const std::string& members, As as = As::kUserWithFixedPriority) {
    std::ofstream(place_ / "two.toml") << "question = \"run\"\nthreads = 1\nload = \"bspin\"\n"
                                       << "[[phase]]\nname = \"one\"\nduty = 0.5\nduration = 1\n"
                                       << "[[phase]]\nname = \"two\"\nduty = 0.5\nduration = 1\n"
                                       << members;
    return program::run(lab({"run", "--plan", place_ / "two.toml", "--out", folder()}, as));
  }

  std::string table() const { return read(fs::path(folder()) / "samples.csv"); }
};

TEST_F(LabWithTwoStarts, AnotherLoadIsAnotherStartOfTheSameRun) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = play("load = \"bint\"\n");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(json("run.json")["engine_commands"].size(), 2U);
  EXPECT_THAT(table(), testing::ContainsRegex("\n[0-9.]+,0,"));
  EXPECT_THAT(table(), testing::ContainsRegex("\n[0-9.]+,1,"));
}

TEST_F(LabWithTwoStarts, WhatTheFirstOneMeasuredIsKeptIfTheSecondIsRefused) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  const Outcome outcome = play("load = \"bint\"\nfans = 99999\n", As::kRoot);
  EXPECT_EQ(outcome.status, 5) << outcome.err;
  EXPECT_EQ(json("run.json")["end"], "failed");
  EXPECT_THAT(table(), testing::ContainsRegex("\n[0-9.]+,0,"));
}

TEST_F(LabWithTwoStarts, ALoadThatNeverPausesIsRefusedBeforeTheFirst) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = play("load = \"spin\"\n");
  EXPECT_EQ(outcome.status, 3) << outcome.err;
  EXPECT_FALSE(fs::exists(folder()));
}

TEST_F(Lab, APlanOfPhasesIsRunWithTheKeysThatItNames) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  std::ofstream(place_ / "my.toml") << "load = \"bspin\"\nkeys = [\"TC0D\"]\n"
                                       "[[phase]]\nduty = 0.5\nduration = 1\n"
                                       "[[phase]]\ntriangle = 1\nduration = \"2s\"\n";
  const Outcome outcome =
      program::run(lab({"run", "--plan", place_ / "my.toml", "--out", folder(), "--json"}));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  Json result = Json::parse(outcome.out, nullptr, false);
  EXPECT_TRUE(result["keys"].contains("TC0D")) << outcome.out;
  EXPECT_FALSE(result["keys"].contains("TC0P"));
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

TEST_F(Lab, WhatCannotBeDoneIsSaidWithItsRemedy) {
  const auto says = [&](std::vector<std::string> arguments, int status, const char* text) {
    const Outcome outcome = program::run(lab(std::move(arguments), As::kOrdinaryUser));
    EXPECT_EQ(outcome.status, status) << text;
    EXPECT_THAT(outcome.err, HasSubstr(text));
    EXPECT_EQ(outcome.out, "");
  };
  says(short_step({"--key", "NOPE"}), 3, "no key \"NOPE\": \"vorn-keys-sim\" lists those");
  says(short_step({"--fans", "fast"}), 2, "--fans takes");
  says({"step", "--out", folder(), "--load", "nope"}, 3,
       "vorn-lab-sim: load \"nope\": vorn-engine-sim has none of that name: those that follow a "
       "duty are bcache, bfma, ");
  says({"step", "--out", folder(), "--load", "spin"}, 3,
       "vorn-lab-sim: load \"spin\": it never pauses, so that it cannot follow the duty of a "
       "phase: choose \"bspin\"");
  says(short_step({"--key", "FCnt"}), 3, "\"FCnt\" is no key that a run can sample");
  says(short_step({"--limit", "TC9D=90"}), 3, "limit: this machine has no key \"TC9D\"");
  EXPECT_FALSE(fs::exists(folder())) << "what is refused before a run leaves no folder";
  says(short_step({"--pstate", "99"}), 3, "P-state 99: this machine has 0 to 7");
  says(short_step({"--rate", "nan"}), 2, "--rate: takes a number from 0.001 to 1000, and not");
  says({"run", "--plan", place_, "--out", folder()}, 2, "Is a directory");
  says({"fit", place_, "--watts", "1"}, 2, "Is a directory");
  EXPECT_FALSE(fs::exists(folder()));
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

TEST_F(Lab, WithJsonStandardOutputIsJsonWhateverGoesWrong) {
  const auto error_of = [&](std::vector<std::string> arguments) {
    arguments.emplace_back("--json");
    const Outcome outcome = program::run(lab(std::move(arguments), As::kOrdinaryUser));
    Json json = Json::parse(outcome.out, nullptr, false);
    EXPECT_TRUE(json.is_object()) << outcome.out;
    EXPECT_NE(outcome.err, "");
    EXPECT_EQ(json.value("status", 0), outcome.status);
    return json.value("error", "");
  };
  EXPECT_THAT(error_of(short_step({"--key", "NOPE"})), HasSubstr("no key \"NOPE\""));
  EXPECT_THAT(error_of({"step", "--colour"}), HasSubstr("--colour"));
  EXPECT_THAT(error_of({"report", "/nowhere"}), HasSubstr("no run.json in it"));
  EXPECT_THAT(error_of({"run", "-r", "nan", "-w", "bspin", "-f", "20", "--out", folder()}),
              HasSubstr("-r (--monrate) does not take \"nan\""));
  EXPECT_FALSE(fs::exists(folder()));
}

TEST_F(Lab, OutputThatNobodyTakesIsNoSuccess) {
  for (const char* arguments : {"plan step", "plan step --json", "doctor --json"}) {
    Command command = lab({}, As::kOrdinaryUser);
    command.path = "/bin/sh";
    command.arguments = {
        "-c", std::string("exec ") + VORN_LAB_SIM_PROGRAM + " " + arguments + " >/dev/full"};
    const Outcome outcome = program::run(command);
    EXPECT_EQ(outcome.status, 4) << arguments;
    EXPECT_THAT(outcome.err, HasSubstr("standard output takes no more: No space left on device"));
  }
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
  Json die = Json::parse(outcome.out)["keys"]["die"];
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
  Json die = Json::parse(outcome.out)["keys"]["die"];
  EXPECT_NEAR(die["resistance"]["value"].get<double>(), 0.5, 0.005);
}

TEST_F(Lab, TheDoctorNamesWhatEachQuestionLacks) {
  const Outcome words = program::run(lab({"doctor"}, As::kOrdinaryUser));
  EXPECT_THAT(words.out, HasSubstr("ok     run: all that it needs is here\n"));
  EXPECT_THAT(words.out, HasSubstr("lacks  step: no fan can be held"));
  const Outcome json = program::run(lab({"doctor", "--json"}, As::kOrdinaryUser));
  EXPECT_TRUE(Json::parse(json.out, nullptr, false)["lacks"].contains("step")) << json.out;
}

TEST_F(Lab, EveryCommandHasAnExampleInItsHelp) {
  const Outcome plan = program::run(lab({"plan", "step", "--help"}, As::kOrdinaryUser));
  EXPECT_THAT(plan.out, HasSubstr("Example:\n  vorn-lab-sim plan step > my.toml"));
  for (const char* command : {"run", "step", "bode", "sweep", "fans", "prove", "watch", "plan",
                              "fit", "compare", "report", "plot", "doctor"}) {
    const Outcome outcome = program::run(lab({command, "--help"}, As::kOrdinaryUser));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr(std::string("Example:\n  vorn-lab-sim ") + command));
  }
}

}  // namespace
