#include "machines/simulated/fans.h"

#include <gtest/gtest.h>

namespace simulated {
namespace {

void turn(Fans& fans, double sink_c, double seconds) {
  constexpr double kStepS = 0.001;
  for (int i = 0; i < seconds / kStepS; ++i) {
    fans.step(sink_c, kStepS);
  }
}

TEST(Fans, AutomaticCurveRunsFromLeastToMostBetween35And65Degrees) {
  EXPECT_DOUBLE_EQ(automatic_rpm(0, -10), 800);
  EXPECT_DOUBLE_EQ(automatic_rpm(0, 35), 800);
  EXPECT_DOUBLE_EQ(automatic_rpm(0, 50), 3000);
  EXPECT_DOUBLE_EQ(automatic_rpm(0, 65), 5200);
  EXPECT_DOUBLE_EQ(automatic_rpm(0, 100), 5200);
  EXPECT_DOUBLE_EQ(automatic_rpm(2, 50), 2200);
}

TEST(Fans, BeginAtLeastSpeedUnforced) {
  const Fans fans;
  EXPECT_EQ(fans.force_bits(), 0);
  EXPECT_DOUBLE_EQ(fans.speed_rpm(1), 600);
  EXPECT_DOUBLE_EQ(fans.target_rpm(1), 600);
}

TEST(Fans, TargetMeansNothingWhileTheForceBitIsClear) {
  Fans fans;
  fans.set_target_rpm(0, 4000);
  turn(fans, 35, 20);
  EXPECT_NEAR(fans.speed_rpm(0), 800, 0.1);
}

TEST(Fans, ForceBitHoldsItsOwnFanAlone) {
  Fans fans;
  fans.set_target_rpm(0, 4000);
  fans.set_target_rpm(1, 4000);
  fans.set_force_bits(0b010);
  turn(fans, 35, 30);
  EXPECT_NEAR(fans.speed_rpm(0), 800, 0.1);
  EXPECT_NEAR(fans.speed_rpm(1), 4000, 0.1);
}

TEST(Fans, InertiaIsOneAndAHalfSeconds) {
  Fans fans;
  fans.set_target_rpm(0, 1800);
  fans.set_force_bits(1);
  turn(fans, 35, 1.5);
  EXPECT_NEAR(fans.speed_rpm(0), 800 + 632.1, 1);
}

TEST(Fans, ForcedFanTurnsNoFasterThanItCanAndKeepsItsTarget) {
  Fans fans;
  fans.set_target_rpm(2, 8191);
  fans.set_force_bits(0b100);
  turn(fans, 35, 30);
  EXPECT_NEAR(fans.speed_rpm(2), 3800, 0.1);
  EXPECT_DOUBLE_EQ(fans.target_rpm(2), 8191);
}

TEST(Fans, ForcedFanMayTurnSlowerThanAutomaticControlWouldLetIt) {
  Fans fans;
  fans.set_target_rpm(0, 300);
  fans.set_force_bits(1);
  turn(fans, 65, 30);
  EXPECT_NEAR(fans.speed_rpm(0), 300, 0.1);
}

TEST(Fans, ForcedToZeroTheyStop) {
  Fans fans;
  for (std::size_t fan = 0; fan < kFans.size(); ++fan) {
    fans.set_target_rpm(fan, 0);
  }
  fans.set_force_bits(0b111);
  turn(fans, 65, 10);
  EXPECT_EQ(fans.speed_rpm(0), 0);
  EXPECT_EQ(fans.speed_rpm(1), 0);
  EXPECT_EQ(fans.speed_rpm(2), 0);
  EXPECT_EQ(fans.air_flow(), 0);
}

TEST(Fans, StoppedFansStartAgainUnderAutomaticControl) {
  Fans fans;
  fans.set_target_rpm(0, 0);
  fans.set_force_bits(1);
  turn(fans, 35, 10);
  fans.set_force_bits(0);
  turn(fans, 35, 30);
  EXPECT_NEAR(fans.speed_rpm(0), 800, 0.1);
}

TEST(Fans, AirFlowIsOneWithEveryFanAtItsMaximum) {
  Fans fans;
  turn(fans, 80, 60);
  EXPECT_NEAR(fans.air_flow(), 1, 1e-9);
}

TEST(Fans, BitsOfFansThatDoNotExistAreKept) {
  Fans fans;
  fans.set_force_bits(0xFFF8);
  turn(fans, 65, 30);
  EXPECT_EQ(fans.force_bits(), 0xFFF8);
  EXPECT_NEAR(fans.speed_rpm(0), 5200, 0.1);
}

}  // namespace
}  // namespace simulated
