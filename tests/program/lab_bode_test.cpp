#include <gmock/gmock.h>

#include "program/lab_program.h"

// A frequency response on the simulated machine, from the command line to the answer.

namespace {

using namespace lab_program;
using program::Outcome;
using testing::HasSubstr;

TEST_F(Lab, ABodePlanSaysHowLongItTakes) {
  const Outcome plan = program::run(
      lab({"plan", "bode", "--frequency", "0.1", "--frequency", "1", "--settle", "20"}));
  ASSERT_EQ(plan.status, 0) << plan.err;
  EXPECT_THAT(plan.out, HasSubstr("# It takes 1 min 34 s.\n"));
  const Outcome help = program::run(lab({"bode", "--help"}));
  EXPECT_THAT(help.out, HasSubstr("bode --from 0.01 --to 2 --points 9 --fast"));
}

TEST_F(Lab, ABodeBesideAFolderWithoutStagesIsRefused) {
  const Outcome refused = program::run(lab({"plan", "bode", "--beside", place_}));
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.err, HasSubstr("name the folder of a step or a fit"));
}

// Both frequencies at once: the engine plays a sum of sinusoids.
TEST_F(Lab, ABodeFindsAmplitudeAndPhaseOfAShortRun) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = program::run(
      lab({"bode", "--frequency", "0.5", "--frequency", "1", "--fast", "--idle", "1", "--settle",
           "2", "--least", "4", "--load", "bspin", "--quiet", "--json", "--out", folder()}));
  EXPECT_LE(outcome.status, 1) << outcome.err;
  EXPECT_EQ(read(fs::path(folder()) / "result.json"), outcome.out);
  EXPECT_EQ(json("run.json")["end"], "complete");
  EXPECT_THAT(read(fs::path(folder()) / "plan.toml"), HasSubstr("sines = ["));
  EXPECT_THAT(read(fs::path(folder()) / "stimulus"), HasSubstr("\tsines\t0.5\t0.45\t"));
  Json result = json("result.json");
  ASSERT_EQ(result["points"].size(), 2U) << outcome.out;
  EXPECT_EQ(result["points"][0]["frequency"], 0.5);
  Json& die = result["points"][0]["keys"]["TC0D"];
  EXPECT_EQ(die["amplitude"]["unit"], "K/W");
  // A few seconds beside other tests: near what docs/simulated-machine.md has, 0.134 and -58.
  EXPECT_NEAR(die["amplitude"]["value"], 0.134, 0.05);
  EXPECT_NEAR(die["phase"]["value"], -58, 25);
  EXPECT_THAT(read(fs::path(folder()) / "report.html"), HasSubstr("Amplitude"));
}

}  // namespace
