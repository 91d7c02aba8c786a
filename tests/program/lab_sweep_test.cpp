#include <gmock/gmock.h>

#include "program/lab_program.h"

// A sweep as a process: points, order, and settings that change without another start.

namespace {

using lab_program::Json;
using program::As;
using program::Outcome;
using testing::HasSubstr;

class LabSweep : public lab_program::Lab {
 protected:
  /// A plan of stays of three seconds at these settings, on one processor.
  std::string plan_of(const std::string& top, const std::vector<std::string>& settings) const {
    std::string text = "question = \"sweep\"\nthreads = 1\nload = \"bint\"\n" + top;
    for (const std::string& setting : settings) {
      text += "[[phase]]\nduration = 3\n" + setting;
    }
    const std::filesystem::path path = place_ / "sweep.toml";
    std::ofstream(path) << text;
    return path;
  }
};

TEST_F(LabSweep, OverDutyHasAPointForEachInTheOrderOfTheirSettings) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  // On a busy machine the power may not settle in three seconds, and then tells no work for it.
  constexpr int kMostRuns = 3;
  Outcome outcome;
  for (int i = 0; i < kMostRuns && outcome.out.find("operations_per_joule") == std::string::npos;
       ++i) {
    std::filesystem::remove_all(folder());
    outcome = program::run(lab({"sweep", "--plan", plan_of("", {"duty = 0.4\n", "duty = 0\n"}),
                                "--out", folder(), "--json"}));
    EXPECT_LE(outcome.status, 1) << outcome.err;  // 1: three seconds may not settle
  }
  Json result = Json::parse(outcome.out, nullptr, false);
  EXPECT_EQ(result["question"], "sweep");
  ASSERT_EQ(result["points"].size(), 2U) << outcome.out;
  EXPECT_EQ(result["points"][0]["setting"], 0);
  EXPECT_EQ(result["points"][1]["setting"], 0.4);
  EXPECT_TRUE(result["points"][1]["keys"].contains("PC0C"));
  EXPECT_EQ(json("run.json")["engine_commands"].size(), 1U);
  if (!result["points"][1].contains("operations_per_joule")) {
    GTEST_SKIP() << "the power did not settle on this busy machine";
  }
  EXPECT_GT(result["points"][1]["operations_per_joule"]["value"], 1e3) << "bint counts its work";
}

TEST_F(LabSweep, OfRootGoesFromOneSpeedAndPStateToTheNextWithOneEngine) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  const Outcome outcome = program::run(
      lab({"sweep", "--plan",
           plan_of("fans = \"maximum\"\npstate = 0\n",
                   {"duty = 0.2\nfans = 2000\n", "duty = 0.2\nfans = 3000\npstate = 7\n"}),
           "--out", folder(), "--json"},
          As::kRoot));
  EXPECT_LE(outcome.status, 1) << outcome.err;
  EXPECT_EQ(json("run.json")["engine_commands"].size(), 1U);
  EXPECT_EQ(json("run.json")["fans"], "not the same in all phases");
  const std::string record = read(std::filesystem::path(folder()) / "stimulus");
  EXPECT_THAT(record, HasSubstr("\tF2Tg\t3000\n"));
  EXPECT_THAT(record, HasSubstr("\tpstate\t7\n"));
  Json result = Json::parse(outcome.out, nullptr, false);
  ASSERT_EQ(result["points"].size(), 2U) << outcome.out;
  // Two seconds after the step of 1000 RPM, a fan of 1.5 s has gone three quarters of it.
  EXPECT_GT(result["points"][1]["keys"]["F0Ac"]["value"], 2500);
}

TEST_F(LabSweep, PrintsItsPlanWithPointsOfTheMachineAndTheSeed) {
  const Outcome outcome = program::run(lab({"plan", "sweep", "rpm", "--seed", "3"}));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("seed = 3 "));
  EXPECT_THAT(outcome.out, HasSubstr("fans = 800\n"));
  EXPECT_THAT(outcome.out, HasSubstr("fans = 5200\n"));
  EXPECT_THAT(outcome.out, HasSubstr("\"TC0D\" = 95\n"));
}

TEST_F(LabSweep, RefusesWhatItCannotGoOver) {
  EXPECT_EQ(program::run(lab({"sweep"})).status, 2);
  EXPECT_EQ(program::run(lab({"sweep", "humidity"})).status, 2);
  const Outcome outcome = program::run(lab({"sweep", "duty", "--at", "0,1.5"}));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("--at takes duties from 0 to 1"));
}

}  // namespace
