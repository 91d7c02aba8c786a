#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "program/lab_program.h"

// Folders beside each other, through the program.

namespace {

using program::Outcome;
using testing::HasSubstr;
using Json = nlohmann::json;

class LabCompare : public lab_program::Lab {
 protected:
  Outcome compare(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "compare");
    arguments.insert(arguments.end(), {"--out", place_ / ("result" + std::to_string(++results_))});
    return program::run(lab(arguments));
  }

  std::string last(const char* file) const {
    return read(place_ / ("result" + std::to_string(results_)) / file);
  }

  /// A folder of `fit`: one stage of that resistance and 8 s, with some noise that is always the
  /// same for a seed.
  void fit(const std::string& name, double resistance, unsigned seed,
           const char* column = "die") const {
    std::ofstream file(place_ / (name + ".csv"));
    file << "s,W," << column << '\n';
    double rise = 0;
    for (int row = 0; row <= 1000; ++row) {
      const double watts = row > 50 && row <= 500 ? 40 : 0;
      rise += row > 0 ? (watts * resistance - rise) * 0.1 / 8 : 0;
      seed = seed * 1664525 + 1013904223;
      file << 0.1 * row << ',' << watts << ',' << 25 + rise + 1e-10 * seed << '\n';
    }
    file.close();
    const Outcome outcome = program::run(lab(
        {"fit", place_ / (name + ".csv"), "--power", "W", "--structure", "--out", folder(name)}));
    ASSERT_EQ(outcome.status, 0) << outcome.err;
  }

  mutable int results_ = 0;
};

TEST_F(LabCompare, SaysByItsStatusWhetherARunIsBetterSameOrWorse) {
  fit("first", 0.5, 1);
  fit("again", 0.5, 2);
  fit("worse", 0.53, 3);
  const Outcome same = compare({folder("first"), folder("again")});
  EXPECT_EQ(same.status, 0) << same.err;
  EXPECT_THAT(same.out, HasSubstr("No difference between first and again"));
  const Outcome worse = compare({folder("first"), folder("worse")});
  EXPECT_EQ(worse.status, 7);
  EXPECT_THAT(worse.out, HasSubstr("worse is worse than first"));
  EXPECT_EQ(compare({folder("worse"), folder("first")}).status, 6);
  EXPECT_EQ(compare({folder("first"), folder("worse"), "--least", "10"}).status, 0);
}

TEST_F(LabCompare, LeavesAResultForScriptsAndAReport) {
  fit("first", 0.5, 1);
  fit("worse", 0.6, 2);
  const Outcome outcome = compare({folder("first"), folder("worse"), "--json"});
  EXPECT_EQ(outcome.status, 7);
  EXPECT_EQ(outcome.out, last("result.json"));
  Json result = Json::parse(outcome.out);
  EXPECT_EQ(result["version"], 1);
  EXPECT_EQ(result["question"], "compare");
  EXPECT_EQ(result["verdict"], "worse");
  EXPECT_EQ(result["runs"][0]["name"], "worse");
  Json& difference = result["runs"][0]["differences"][0];
  EXPECT_EQ(difference["name"], "keys.die.resistance");
  EXPECT_NEAR(difference["difference"]["value"], 20, 1);
  const std::string report = last("report.html");
  EXPECT_THAT(report, HasSubstr("first: die fitted"));
  EXPECT_THAT(report, HasSubstr("worse: die ladder"));
}

TEST_F(LabCompare, ComparesRunsOfTheMachine) {
  const auto run = [&](const std::string& name) {
    return program::run(lab({"run", "-w", "bspin", "-f", "20", "--duty", "0.3", "-c", "1", "-t",
                             "2", "--quiet", "--out", folder(name)}));
  };
  ASSERT_EQ(run("a").status, 0);
  ASSERT_EQ(run("b").status, 0);
  const Outcome outcome = compare({folder("a"), folder("b"), "--key", "TA0P", "--json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;  // the air, which stays at 25 degrees
  EXPECT_EQ(Json::parse(outcome.out)["runs"][0]["differences"][0]["name"], "keys.TA0P.mean");
}

TEST_F(LabCompare, RefusesOrSaysWhatCannotBeCompared) {
  fit("first", 0.5, 1);
  fit("other", 0.5, 2, "sink");
  const Outcome nothing = compare({folder("first"), folder("other")});
  EXPECT_EQ(nothing.status, 1);
  EXPECT_THAT(nothing.out, HasSubstr("die is only in the first"));

  const Outcome itself = compare({folder("first"), folder("first") + "/"});
  EXPECT_EQ(itself.status, 2);
  EXPECT_THAT(itself.err, HasSubstr("are one folder"));
  EXPECT_EQ(compare({folder("first")}).status, 2);
  EXPECT_EQ(compare({folder("first"), folder("nowhere")}).status, 4);

  ASSERT_EQ(program::run(lab({"run", "-w", "bspin", "-f", "20", "--duty", "0.3", "-c", "1", "-t",
                              "1", "--quiet", "--out", folder("run")}))
                .status,
            0);
  const Outcome unlike = compare({folder("first"), folder("run")});
  EXPECT_EQ(unlike.status, 2);
  EXPECT_THAT(unlike.err, HasSubstr("their answers cannot be compared"));
}

TEST_F(LabCompare, RefusesSweepsOverDifferentSettings) {
  const Outcome swept =
      program::run(lab({"sweep", "duty", "--at", "0,0.2", "--threads", "1", "--load", "bspin",
                        "--in-order", "--at-most", "2s", "--quiet", "--out", folder("duties")}));
  ASSERT_LE(swept.status, 1) << swept.err;  // it has no time to settle
  std::filesystem::copy(folder("duties"), folder("loads"));
  const std::filesystem::path plan = std::filesystem::path(folder("loads")) / "plan.toml";
  std::string text = read(plan);
  const std::string phase = "name = \"duty 0.2\"\n";
  ASSERT_NE(text.find(phase), std::string::npos);
  text.replace(text.find(phase), phase.size(), phase + "load = \"bint\"\n");
  std::ofstream(plan) << text;

  const Outcome outcome = compare({folder("duties"), folder("loads")});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("a run of sweep over duty"));
  EXPECT_THAT(outcome.err, HasSubstr("one of sweep over load: their answers cannot be compared"));
}

}  // namespace
