#include "lab/engine_process/segments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lab {
namespace {

using testing::ElementsAre;

Plan step_plan() {
  Plan plan;
  for (const double duty : {0.0, 1.0, 0.0}) {
    Phase phase;
    phase.drive.duty = duty;
    phase.duration_s = 1;
    plan.phases.push_back(phase);
  }
  return plan;
}

const Means kOrdinary{.keys = {"PC0C", "TC0D"}, .fan_keys = {"F0Tg", "F1Tg"}, .root = false};
const Means kRoot{.keys = {"PC0C"}, .fan_keys = {"F0Tg", "F1Tg"}, .root = true};

TEST(Segments, PhasesThatDifferInTheirDutyAloneAreOne) {
  const std::vector<Segment> segments = segments_of(step_plan());
  ASSERT_EQ(segments.size(), 1U);
  EXPECT_EQ(segments[0].first, 0U);
  EXPECT_EQ(segments[0].last, 2U);
}

TEST(Segments, AnotherLoadNeedsAnotherEngine) {
  Plan plan = step_plan();
  plan.phases[1].load = "bmem";
  EXPECT_EQ(segments_of(plan).size(), 3U);
  EXPECT_TRUE(segments_of({}).empty());
}

TEST(Segments, FansAndPstateThatAreForcedOnceNeedAnotherEngine) {
  Plan plan = step_plan();
  plan.phases[2].fans = Fans{.hold = Fans::Hold::speed, .rpm = 900};
  EXPECT_EQ(segments_of(plan).size(), 2U) << "they were left to the machine before";
  plan.fans.hold = Fans::Hold::maximum;
  EXPECT_EQ(segments_of(plan).size(), 1U);
  plan = step_plan();
  plan.phases[0].pstate = 3;
  EXPECT_EQ(segments_of(plan).size(), 2U);
  plan.pstate = 1;
  EXPECT_EQ(segments_of(plan).size(), 1U);
}

TEST(Segments, OfPhasesThatComeLaterBeginWithThem) {
  const std::vector<Segment> segments = segments_of(step_plan(), 1);
  ASSERT_EQ(segments.size(), 1U);
  EXPECT_EQ(segments[0].first, 1U);
  EXPECT_EQ(segments[0].last, 2U);
}

TEST(Segments, APhaseMayUndoThePlansPstateAndFans) {
  Plan plan = step_plan();
  plan.pstate = 2;
  plan.fans.hold = Fans::Hold::maximum;
  plan.phases[1].pstate = kAutomaticPState;
  plan.phases[1].fans = Fans{};
  const std::vector<Segment> segments = segments_of(plan);
  ASSERT_EQ(segments.size(), 3U);
  EXPECT_EQ(segments[0].pstate, 2);
  EXPECT_EQ(segments[1].pstate, std::nullopt);
  EXPECT_EQ(segments[1].fans.hold, Fans::Hold::automatic);
  EXPECT_THAT(engine_arguments(plan, segments[1], kRoot), testing::Contains("--leave-pstate"));
}

TEST(EngineArguments, OfAnOrdinaryUserLeaveFansAndPstateAlone) {
  Plan plan = step_plan();
  plan.fans.hold = Fans::Hold::maximum;
  plan.pstate = 1;
  plan.threads = 3;
  plan.limits["TC0D"] = 92.5;
  EXPECT_THAT(engine_arguments(plan, segments_of(plan)[0], kOrdinary),
              ElementsAre("--steer", "-m", "-r", "10", "-k", "PC0C", "-k", "TC0D", "-w", "bmix",
                          "-f", "20", "-c", "3", "--limit", "TC0D=92.5"));
}

TEST(EngineArguments, OfRootHoldEveryFanOrNone) {
  Plan plan = step_plan();
  plan.fans.hold = Fans::Hold::maximum;
  plan.pstate = 2;
  EXPECT_THAT(engine_arguments(plan, segments_of(plan)[0], kRoot),
              ElementsAre("--steer", "-m", "-r", "10", "-k", "PC0C", "-w", "bmix", "-f", "20", "-s",
                          "-1", "-a", "F0Tg", "-a", "F1Tg", "-p", "2"));
  plan.fans = {.hold = Fans::Hold::automatic, .rpm = 0};
  plan.pstate.reset();
  EXPECT_THAT(engine_arguments(plan, segments_of(plan)[0], kRoot),
              ElementsAre("--steer", "-m", "-r", "10", "-k", "PC0C", "-w", "bmix", "-f", "20", "-s",
                          "0", "--leave-pstate"));
}

TEST(EngineArguments, OnAMachineWithoutFansHoldNone) {
  Plan plan = step_plan();
  plan.fans = {.hold = Fans::Hold::speed, .rpm = 1200};
  Means means = kRoot;
  means.fan_keys.clear();
  EXPECT_THAT(engine_arguments(plan, segments_of(plan)[0], means), testing::Contains("0"));
}

Fans speed(int rpm) {
  return {.hold = Fans::Hold::speed, .rpm = rpm};
}

/// The lines for each phase of the plan, which is one segment.
std::vector<std::string> forced(const Plan& plan, const Means& means = kRoot) {
  std::vector<std::string> lines;
  const Segment segment = segments_of(plan).at(0);
  for (std::size_t index = 0; index <= segment.last; ++index) {
    lines.push_back(forcing(plan, segment, index, means));
  }
  return lines;
}

TEST(Forcing, SaysWhatAPhaseForcesOtherwiseThanTheOneBefore) {
  Plan plan = step_plan();
  plan.fans = speed(3000);
  plan.pstate = 0;
  plan.phases[1].fans = speed(1200);
  plan.phases[2].fans = speed(1200);
  plan.phases[2].pstate = 2;
  EXPECT_THAT(forced(plan), ElementsAre("", "fans 1200\n", "pstate 2\n"));
  EXPECT_THAT(forced(plan, kOrdinary), ElementsAre("", "", ""));
}

TEST(Forcing, OfOneFanLeavesTheOthersAsThePlanHasThem) {
  Plan plan = step_plan();
  plan.fans.hold = Fans::Hold::maximum;
  plan.phases[0].fan = "F0Tg";
  plan.phases[0].fans = speed(800);
  plan.phases[1].fan = "F1Tg";
  plan.phases[1].fans = speed(0);
  EXPECT_THAT(forced(plan), ElementsAre("fan F0Tg 800\n", "fan F0Tg maximum\nfan F1Tg 0\n",
                                        "fan F1Tg maximum\n"));
}

// "-s 0" would leave them to the machine.
TEST(Forcing, AStopAtTheBeginningIsSaidBehindTheStart) {
  Plan plan = step_plan();
  plan.phases.resize(1);
  plan.phases[0].fans = speed(0);
  EXPECT_THAT(engine_arguments(plan, segments_of(plan)[0], kRoot), testing::Contains("-1"));
  EXPECT_THAT(forced(plan), ElementsAre("fans 0\n"));
}

TEST(Steering, IsALineInPlainDecimals) {
  EXPECT_EQ(
      steering({.shape = Drive::Shape::constant, .duty = 0.00001, .depth = 0, .frequency_hz = 0}),
      "duty 0.00001\n");
  EXPECT_EQ(
      steering({.shape = Drive::Shape::sinusoid, .duty = 0.25, .depth = 0.5, .frequency_hz = 0.1}),
      "sinusoid 0.1 0.25 0.5\n");
  EXPECT_EQ(steering({.shape = Drive::Shape::triangle, .duty = 0, .depth = 1, .frequency_hz = 2}),
            "triangle 2 0 1\n");
  EXPECT_EQ(steering({.shape = Drive::Shape::sines,
                      .duty = 0.45,
                      .sines = {{.frequency_hz = 0.02, .amplitude = 0.15, .degrees = 10},
                                {.frequency_hz = 0.3, .amplitude = 0.1, .degrees = 0}}}),
            "sines 0.45 0.02 0.15 10 0.3 0.1 0\n");
}

TEST(Segments, AProfileHasAnEngineOfItsOwnThatIsNotSteered) {
  Plan plan;
  plan.phases.resize(3);
  plan.phases[1].drive.shape = Drive::Shape::profile;
  plan.phases[1].drive.profile = {{.time_s = 0, .duty = 0.25}, {.time_s = 60, .duty = 0}};
  const std::vector<Segment> segments = segments_of(plan);
  ASSERT_EQ(segments.size(), 3U);
  EXPECT_FALSE(plays_profile(plan, segments[0]));
  EXPECT_TRUE(plays_profile(plan, segments[1]));
  EXPECT_EQ(engine_arguments(plan, segments[1], {})[0], "--attached");
  EXPECT_EQ(engine_arguments(plan, segments[2], {})[0], "--steer");
  EXPECT_EQ(profile_text(plan.phases[1].drive), "steps\n0 0.25\n60 0\n");
}

}  // namespace
}  // namespace lab
