#include "lab/plan/plan_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/plan/plan_error.h"

namespace lab {
namespace {

constexpr const char* kWhole = R"(
question = "step"
load = "bfma"
threads = 2
carrier = 50
rate = 5.5
keys = ["PC0C", "TC0D"]
power = "PC0C"
fans = 1500
pstate = 2
seed = 7
error = 0.02
limits = { TC0D = 95, "TC0P" = 70.5 }

[[phase]]
name = "idle"
duty = 0
duration = 10

[[phase]]
name = "load"
sinusoid = 0.1
offset = 0.25
depth = 0.5
duration = "until settled"
at_most = "2m"
drift = 0.1
load = "bmem"
fans = "automatic"
pstate = 1

[[phase]]
duty = 0
duration = 5
fan = "F1Tg"
fans = 0
)";

std::string refusal(const std::string& text) {
  try {
    parse_plan(text, "my.toml");
  } catch (const PlanError& error) {
    return error.what();
  }
  return "";
}

TEST(PlanFile, APhaseMayPlayAProfileOrGoOnUntilItIsStopped) {
  const Plan plan = parse_plan(
      "[[phase]]\nprofile = [[0, 0.25], [1.5, 1], [4, 0]]\n"
      "[[phase]]\nduty = 0\nduration = \"until stopped\"\n",
      "my.toml");
  const Plan again = parse_plan(plan_text(plan), "again.toml");
  for (const Plan& read : {plan, again}) {
    ASSERT_EQ(read.phases.size(), 2U);
    EXPECT_EQ(read.phases[0].drive.shape, Drive::Shape::profile);
    ASSERT_EQ(read.phases[0].drive.profile.size(), 3U);
    EXPECT_EQ(read.phases[0].drive.profile[1].time_s, 1.5);
    EXPECT_EQ(read.phases[0].drive.profile[1].duty, 1);
    EXPECT_EQ(read.phases[0].duration_s, 4);
    EXPECT_FALSE(read.phases[0].until_stopped);
    EXPECT_TRUE(read.phases[1].until_stopped);
    EXPECT_NO_THROW(check(read));
  }
}

TEST(PlanFile, RefusesAProfileThatIsNone) {
  for (const char* profile : {"3", "[]", "[[0, 1]]", "[[1, 1], [2, 0]]", "[[0, 1], [0, 1]]",
                              "[[0, 2], [1, 0]]", "[[0, 1, 2], [1, 0, 2]]"}) {
    EXPECT_THAT(refusal("[[phase]]\nprofile = " + std::string(profile) + "\n"),
                testing::HasSubstr("profile is to be a list of [s, duty]"))
        << profile;
  }
  EXPECT_THAT(refusal("[[phase]]\nprofile = [[0, 1], [2, 0]]\nduty = 1\n"),
              testing::HasSubstr("duty and profile exclude each other"));
}

TEST(Plan, OnlyTheLastPhaseGoesOnUntilItIsStopped) {
  Plan plan;
  plan.phases.resize(2);
  plan.phases[0].duration_s = kLongestPhase_s;
  plan.phases[0].until_stopped = true;
  plan.phases[1].duration_s = 5;
  EXPECT_THROW(check(plan), PlanError);
}

TEST(PlanFile, APhaseMayLeaveThePstateToTheMachine) {
  const Plan plan = parse_plan(
      "pstate = 3\n[[phase]]\nduty = 1\nduration = 5\npstate = \"automatic\"\n"
      "[[phase]]\nduty = 1\nduration = 5\n",
      "my.toml");
  ASSERT_EQ(plan.phases.size(), 2U);
  EXPECT_EQ(pstate_of(plan, plan.phases[0]), std::nullopt);
  EXPECT_EQ(pstate_of(plan, plan.phases[1]), 3);
  const Plan again = parse_plan(plan_text(plan), "again.toml");
  EXPECT_EQ(pstate_of(again, again.phases[0]), std::nullopt);
  EXPECT_EQ(pstate_of(again, again.phases[1]), 3);
}

TEST(PlanFile, EverythingOfAPlanIsRead) {
  const Plan plan = parse_plan(kWhole, "my.toml");
  EXPECT_EQ(plan.question, "step");
  EXPECT_EQ(plan.load, "bfma");
  EXPECT_EQ(plan.threads, 2);
  EXPECT_EQ(plan.carrier_hz, 50);
  EXPECT_EQ(plan.rate_hz, 5.5);
  EXPECT_THAT(plan.keys, testing::ElementsAre("PC0C", "TC0D"));
  EXPECT_EQ(plan.power, "PC0C");
  EXPECT_EQ(plan.fans.hold, Fans::Hold::speed);
  EXPECT_EQ(plan.fans.rpm, 1500);
  EXPECT_EQ(plan.pstate, 2);
  EXPECT_EQ(plan.seed, 7);
  EXPECT_EQ(plan.error, 0.02);
  EXPECT_THAT(plan.limits,
              testing::ElementsAre(testing::Pair("TC0D", 95), testing::Pair("TC0P", 70.5)));
  ASSERT_EQ(plan.phases.size(), 3U);
  EXPECT_EQ(plan.phases[2].fan, "F1Tg");
  EXPECT_EQ(plan.phases[2].fans->hold, Fans::Hold::speed);
  EXPECT_EQ(plan.phases[2].fans->rpm, 0);
  EXPECT_EQ(plan.phases[0].name, "idle");
  EXPECT_EQ(plan.phases[0].duration_s, 10);
  EXPECT_FALSE(plan.phases[0].until_settled);
  EXPECT_FALSE(plan.phases[0].fans);
  const Phase& load = plan.phases[1];
  EXPECT_EQ(load.drive.shape, Drive::Shape::sinusoid);
  EXPECT_EQ(load.drive.frequency_hz, 0.1);
  EXPECT_EQ(load.drive.duty, 0.25);
  EXPECT_EQ(load.drive.depth, 0.5);
  EXPECT_TRUE(load.until_settled);
  EXPECT_EQ(load.duration_s, 120);
  EXPECT_EQ(load.drift, 0.1);
  EXPECT_EQ(load.load, "bmem");
  EXPECT_EQ(load.fans->hold, Fans::Hold::automatic);
  EXPECT_EQ(load.pstate, 1);
}

TEST(PlanFile, WhatIsWrittenReadsAsTheSamePlan) {
  const std::string text = plan_text(parse_plan(kWhole, "my.toml"));
  EXPECT_EQ(plan_text(parse_plan(text, "again.toml")), text);
  EXPECT_THAT(plan_text(parse_plan(kWhole, "my.toml"), "other-lab"),
              testing::HasSubstr("Run it: other-lab "));
  EXPECT_THAT(text, testing::HasSubstr("sinusoid = 0.1"));
  EXPECT_THAT(text, testing::HasSubstr("duration = \"until settled\"\nat_most = 120  #"));
}

TEST(PlanFile, OfATableOffersNothingToRun) {
  Plan plan;
  plan.question = "fit";
  plan.power = "Power [W]";
  plan.structure = true;
  const std::string text = plan_text(plan);
  EXPECT_THAT(text, testing::Not(testing::HasSubstr("--plan")));
  const Plan again = parse_plan(text, "again.toml");
  EXPECT_EQ(again.power, plan.power);
  EXPECT_TRUE(again.structure);
  EXPECT_EQ(plan_text(again), text);
}

TEST(PlanFile, ADefaultPlanIsWrittenInPlainNumbers) {
  Plan plan;
  plan.question = "step";
  Phase phase;
  phase.until_settled = true;
  phase.duration_s = 600;
  plan.phases = {phase};
  EXPECT_THAT(plan_text(plan), testing::HasSubstr("drift = 0.05 "));
  EXPECT_THAT(plan_text(plan), testing::HasSubstr("carrier = 20 "));
}

TEST(PlanFile, OptionsOfTheEngineAreKeptAsTheyStand) {
  Plan plan;
  plan.question = "run";
  plan.engine_options = {"-w", "bmix", "it's \"quoted\" \n \x01"};
  EXPECT_EQ(parse_plan(plan_text(plan), "run.toml").engine_options, plan.engine_options);
}

TEST(PlanFile, AnUnknownWordIsNamedWithLineAndColumn) {
  EXPECT_THAT(refusal("question = \"step\"\nrrate = 3\n"),
              testing::StartsWith("my.toml:2:1: unknown word \"rrate\" in a plan: it knows "));
  EXPECT_THAT(refusal("question = \"step\"\n[[phase]]\nduty = 1\n  until = 3\nduration = 1\n"),
              testing::StartsWith("my.toml:4:3: unknown word \"until\" in a phase"));
}

TEST(PlanFile, AWrongWordIsNamedAlsoWhereARightOneIsMissing) {
  EXPECT_THAT(refusal("[[phase]]\ndutty = 1\nduration = 3\n"),
              testing::StartsWith("my.toml:2:1: unknown word \"dutty\" in a phase"));
  EXPECT_THAT(refusal("question = \"step\"\n[[phases]]\nduty = 1\nduration = 3\n"),
              testing::HasSubstr("unknown word \"phases\" in a plan"));
}

TEST(PlanFile, AValueOutOfItsRangeIsNamedWithLineAndColumn) {
  EXPECT_EQ(refusal("rate = 0"), "my.toml:1:8: rate is to be a number from 0.001 to 1000");
  EXPECT_EQ(refusal("threads = 1.5"), "my.toml:1:11: threads is to be a whole number");
  EXPECT_EQ(refusal("load = 3"), "my.toml:1:8: load is to be a text in quotes");
  EXPECT_EQ(refusal("keys = \"PC0C\""), "my.toml:1:8: keys is to be a list of texts");
  EXPECT_EQ(refusal("fans = \"fast\""),
            "my.toml:1:8: fans is to be \"automatic\", \"maximum\", or a speed in RPM");
  EXPECT_EQ(refusal("limits = { TC0D = \"hot\" }"),
            "my.toml:1:19: the limit of a key is to be a number");
}

TEST(PlanFile, APhaseHasOneDriveAndOneDuration) {
  EXPECT_THAT(refusal("[[phase]]\nduration = 3"), testing::HasSubstr("one of duty, sinusoid"));
  EXPECT_THAT(refusal("[[phase]]\nduty = 1\nsinusoid = 1\nduration = 3"),
              testing::HasSubstr("one of duty, sinusoid"));
  EXPECT_THAT(refusal("[[phase]]\nduty = 1\noffset = 0.1\nduration = 3"),
              testing::HasSubstr("belong to a sinusoid"));
  EXPECT_THAT(refusal("[[phase]]\nsinusoid = 1\noffset = 0.6\ndepth = 0.6\nduration = 3"),
              testing::HasSubstr("at most 1 together"));
  EXPECT_THAT(refusal("[[phase]]\nduty = 1"), testing::HasSubstr("has a duration"));
  EXPECT_THAT(refusal("[[phase]]\nduty = 1\nduration = \"until settled\""),
              testing::HasSubstr("has at_most"));
  EXPECT_THAT(refusal("[[phase]]\nduty = 1\nduration = 3\nat_most = 5"),
              testing::HasSubstr("has at_most"));
  EXPECT_THAT(refusal("[[phase]]\nduty = 1\nduration = \"soon\""),
              testing::HasSubstr("my.toml:3:12: duration is to be a time"));
}

TEST(PlanFile, AFanIsStoppedInAPhaseAlone) {
  EXPECT_THAT(refusal("fans = 0"), testing::HasSubstr("fans is to be"));
  EXPECT_THAT(refusal("[[phase]]\nduty = 0\nduration = 1\nfan = \"F0Tg\""),
              testing::HasSubstr("a phase with a fan has fans"));
}

TEST(PlanFile, TextThatIsNoTomlIsNamedWithLineAndColumn) {
  EXPECT_THAT(refusal("question = \n"), testing::StartsWith("my.toml:1:"));
}

TEST(PlanFile, WhatWouldHaveNoEffectIsRefused) {
  EXPECT_EQ(refusal("question = \"run\"\nengine_options = [\"-m\"]\nlimits = { TC0D = 90 }"),
            "my.toml:3:10: limits has no effect beside engine_options: put it there");
}

TEST(PlanFile, AQuestionWithPhasesNeedsThem) {
  EXPECT_EQ(refusal("question = \"step\""), "my.toml: a plan for \"step\" has phases: [[phase]]");
}

TEST(PlanFile, AFileThatIsNotThereIsNamed) {
  EXPECT_THROW(read_plan("/nowhere/my.toml"), PlanError);
}

constexpr const char* kSines = R"(
question = "bode"

[predicted]
from = "first"
stages.TC0D = [[0.24, 0.49], [-0.19, 27.6]]

[[phase]]
sines = [[0.02, 0.2, 0], [0.3, 0.1, -90]]
mean = 0.45
duration = 200
)";

TEST(PlanFile, SinusoidsAtOnceAndPredictedStagesAreReadAndWritten) {
  const std::string again = plan_text(parse_plan(kSines, "my.toml"));
  for (const Plan& plan : {parse_plan(kSines, "my.toml"), parse_plan(again, "again.toml")}) {
    const Drive& drive = plan.phases[0].drive;
    EXPECT_EQ(drive.shape, Drive::Shape::sines);
    EXPECT_EQ(drive.duty, 0.45);
    ASSERT_EQ(drive.sines.size(), 2U);
    EXPECT_EQ(drive.sines[1].frequency_hz, 0.3);
    EXPECT_EQ(drive.sines[1].amplitude, 0.1);
    EXPECT_EQ(drive.sines[1].degrees, -90);
    EXPECT_EQ(plan.predicted_from, "first");
    ASSERT_EQ(plan.predicted.at("TC0D").size(), 2U);
    EXPECT_EQ(plan.predicted.at("TC0D")[1].resistance, -0.19);
    EXPECT_EQ(plan.predicted.at("TC0D")[1].tau_s, 27.6);
  }
}

TEST(PlanFile, SinusoidsOfAnotherFormAreRefused) {
  const std::string phase = "[[phase]]\nduration = 9\n";
  EXPECT_EQ(refusal(phase + "sines = [[1, 0.1]]"),
            "my.toml:3:10: sines is to be a list of [Hz, amplitude from 0 to 0.5, degrees], at "
            "most 16 of them");
  EXPECT_EQ(refusal(phase + "sines = [[1, 0.1, 0]]\nduty = 1"),
            "my.toml:1:1: duty and sines exclude each other");
  EXPECT_THAT(refusal("[predicted]\nstages.TC0D = [[1]]\n" + phase + "duty = 1"),
              testing::HasSubstr("the stages of a key are to be a list of [K/W, s]"));
}

TEST(PlanFile, SaysHowLongThePlanTakes) {
  EXPECT_THAT(plan_text(parse_plan(kSines, "my.toml")),
              testing::HasSubstr("# It takes 3 min 20 s.\n"));
  EXPECT_THAT(plan_text(parse_plan(kWhole, "my.toml")),
              testing::HasSubstr("# It takes 2 min 15 s at most: what is to settle may do so "
                                 "sooner.\n"));
}

}  // namespace
}  // namespace lab
