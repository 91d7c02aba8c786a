#include <gmock/gmock.h>

#include "program/lab_program.h"

// The fans' question as a process, on the fans of the simulated machine.

namespace {

using lab_program::Json;
using program::As;
using program::Outcome;
using testing::HasSubstr;
using LabFans = lab_program::Lab;

TEST_F(LabFans, OfRootFindTimeConstantLeastSpeedAndStop) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  const Outcome outcome = program::run(
      lab({"fans", "--fan", "F1Tg", "--hold", "6s", "--out", folder(), "--json"}, As::kRoot));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  Json fan = Json::parse(outcome.out, nullptr, false)["fans"]["F1Tg"];
  // Held up by others, samples are late, but say when they were taken.
  EXPECT_NEAR(fan["down"]["time_constant"]["value"], 1.5, 0.1);
  EXPECT_NEAR(fan["up"]["time_constant"]["value"], 1.5, 0.1);
  EXPECT_NEAR(fan["least_steady_speed"]["value"], 600, 20);
  EXPECT_TRUE(fan["stop"]["stands_still"]);
  EXPECT_NEAR(fan["stop"]["speed"]["value"], 60, 15);
  EXPECT_TRUE(fan["start"]["turns"]);
  EXPECT_EQ(json("run.json")["engine_commands"].size(), 1U);
  EXPECT_THAT(json("run.json")["engine_commands"][0].dump(), HasSubstr("\"TC0D=95\""));
}

TEST_F(LabFans, OfAUserAreNotHeldAndThatIsSaid) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome =
      program::run(lab({"fans", "--fan", "F1Tg", "--hold", "1s", "--out", folder()}));
  EXPECT_EQ(outcome.status, 1) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("Only root may hold fans"));
}

TEST_F(LabFans, ThatDoNotExistAreRefused) {
  const Outcome outcome = program::run(lab({"fans", "--fan", "F7Tg"}));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("--fan F7Tg: this machine has no such fan"));
}

}  // namespace
