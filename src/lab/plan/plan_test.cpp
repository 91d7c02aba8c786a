#include "lab/plan/plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/plan/plan_error.h"

namespace lab {
namespace {

Plan plan_of(const Phase& phase) {
  Plan plan;
  plan.phases = {phase};
  return plan;
}

Phase shaped(double frequency_hz) {
  Phase phase;
  phase.name = "wave";
  phase.duration_s = 10;
  phase.drive = {
      .shape = Drive::Shape::sinusoid, .duty = 0.2, .depth = 0.8, .frequency_hz = frequency_hz};
  return phase;
}

std::string refusal(const Phase& phase) {
  try {
    check(plan_of(phase));
  } catch (const PlanError& error) {
    return error.what();
  }
  return "";
}

TEST(Plan, APhaseOfTwoPeriodsOfTheCarrierCanBePlayed) {
  Phase phase;
  phase.name = "short";
  phase.duration_s = 0.1;
  EXPECT_EQ(refusal(phase), "");
  phase.duration_s = 0.09;
  phase.duration_s = 1e9;
  EXPECT_EQ(refusal(phase), "phase \"short\": it lasts longer than a year");
  phase.duration_s = 0.09;
  EXPECT_EQ(refusal(phase),
            "phase \"short\": it lasts less than two periods of the carrier, which is 20 Hz");
}

TEST(Plan, APhaseSetsOneFanWhileTheOthersAreHeld) {
  Phase phase;
  phase.duration_s = 5;
  phase.fan = "F0Tg";
  phase.fans = Fans{.hold = Fans::Hold::speed, .rpm = 800};
  EXPECT_THAT(refusal(phase), testing::HasSubstr("the others are left to the machine"));
  Plan plan = plan_of(phase);
  plan.fans.hold = Fans::Hold::maximum;
  EXPECT_NO_THROW(check(plan));
}

TEST(Plan, AShapeUpToHalfOfTheCarrierCanBePlayed) {
  EXPECT_EQ(refusal(shaped(10)), "");
  EXPECT_THAT(refusal(shaped(11)), testing::HasSubstr("above half of the carrier"));
  Phase high = shaped(1);
  high.drive.duty = 0.3;
  EXPECT_THAT(refusal(high), testing::HasSubstr("more than 1 together"));
}

TEST(Plan, TheFastestOfSeveralSinusoidsIsComparedWithTheCarrier) {
  Phase phase;
  phase.duration_s = 10;
  phase.drive = {.shape = Drive::Shape::sines,
                 .sines = {{.frequency_hz = 11, .amplitude = 0.1, .degrees = 0},
                           {.frequency_hz = 1, .amplitude = 0.1, .degrees = 0}}};
  EXPECT_THAT(refusal(phase), testing::HasSubstr("11 Hz is above half of the carrier"));
}

}  // namespace
}  // namespace lab
