#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "program/lab_program.h"

// Runs of the lab that only look, and runs that play a recorded utilisation.

namespace {

using namespace lab_program;
using testing::HasSubstr;

TEST_F(Lab, WatchesWithoutALoad) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const program::Outcome outcome =
      program::run(lab({"watch", "--for", "3", "--out", folder(), "--json"}));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  Json result = Json::parse(outcome.out, nullptr, false);
  EXPECT_EQ(result["end"], "complete");
  EXPECT_TRUE(result["keys"].contains("PC0C")) << outcome.out;
  EXPECT_LT(result["load"]["delivered"]["maximum"].get<double>(), 0.01) << "it took the processors";
  EXPECT_EQ(result["load"]["asked"]["maximum"], 0);
  EXPECT_THAT(outcome.out, testing::Not(HasSubstr("Other programs took"))) << "they are the point";
}

TEST_F(Lab, CtrlCIsTheEndOfAWatchThatHasNone) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  program::Running running(lab({"watch", "--out", folder()}));
  ASSERT_TRUE(wait_for_samples(10));
  running.send(SIGINT);
  const program::Outcome outcome = running.wait();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(json("run.json")["end"], "complete");
  EXPECT_THAT(read(fs::path(folder()) / "plan.toml"), HasSubstr("duration = \"until stopped\"\n"));
}

TEST_F(LabAlone, PlaysARecordedUtilisation) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  std::ofstream(place_ / "trace.csv") << "time,busy\n0,10\n1,60\n3,30\n5,0\n";
  const program::Outcome outcome =
      program::run(lab({"watch", "--replay", place_ / "trace.csv", "--utilisation", "busy",
                        "--load", "bspin", "--threads", "1", "--out", folder(), "--json"}));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  Json result = Json::parse(outcome.out, nullptr, false);
  const double one = 1.0 / std::max(1U, std::thread::hardware_concurrency());
  Json& replay = result["replay"];
  EXPECT_NEAR(replay["asked"].get<double>(), one * (0.1 + 2 * 0.6 + 2 * 0.3) / 7, 0.08 * one);
  EXPECT_NEAR(replay["delivered"].get<double>(), replay["asked"].get<double>(), 0.1 * one);
  EXPECT_TRUE(replay["responses"].contains("PC0C")) << outcome.out;
  EXPECT_THAT(read(fs::path(folder()) / "profile"), testing::StartsWith("steps\n0 0.1\n1 0.6\n"));
  EXPECT_THAT(json("run.json")["engine_commands"][0].dump(), HasSubstr("--profile"));
}

TEST_F(Lab, SaysWhatIsWrongWithAUtilisation) {
  std::ofstream(place_ / "trace.csv") << "time,busy\n0,10\n1,600\n";
  const program::Outcome outcome = program::run(
      lab({"watch", "--replay", place_ / "trace.csv", "--out", folder()}, As::kOrdinaryUser));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("trace.csv: a utilisation of 600"));
}

}  // namespace
