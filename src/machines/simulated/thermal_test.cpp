#include "machines/simulated/thermal.h"

#include <gtest/gtest.h>

namespace simulated {
namespace {

constexpr double kStepS = 0.001;

TEST(Thermal, ConductanceRisesWithAirFlowBetweenItsTwoEnds) {
  EXPECT_DOUBLE_EQ(sink_to_air_w_per_k(0), 1.5);
  EXPECT_DOUBLE_EQ(sink_to_air_w_per_k(1), 5.5);
  EXPECT_LT(sink_to_air_w_per_k(0.3), sink_to_air_w_per_k(0.31));
}

TEST(Thermal, SettledTemperaturesCarryTheWholePowerThroughBothConductances) {
  const Temperatures t = settled(60, 3);
  EXPECT_DOUBLE_EQ(t.sink_c, 25 + 60 / 3.0);
  EXPECT_DOUBLE_EQ(t.die_c, t.sink_c + 60 / 4.0);
}

TEST(Thermal, SettledTemperaturesStayWhereTheyAre) {
  const Temperatures t = settled(60, 3);
  const Temperatures next = stepped(t, 60, 3, kStepS);
  EXPECT_NEAR(next.die_c, t.die_c, 1e-12);
  EXPECT_NEAR(next.sink_c, t.sink_c, 1e-12);
}

TEST(Thermal, DieTakesHalfASecondOverTheSink) {
  Temperatures t = settled(0, 3);
  constexpr double kPowerW = 80;
  // The sink warms meanwhile, and takes the die along: of the power, 2/152 stays in the die.
  constexpr double kRise = 0.632 * kPowerW / kDieToSinkWPerK * 150 / 152;
  double time_s = 0;
  while (t.die_c - t.sink_c < kRise) {
    t = stepped(t, kPowerW, 3, kStepS);
    time_s += kStepS;
  }
  // For the same reason the two capacities act in series.
  EXPECT_NEAR(time_s, 2 * 150 / 152.0 / 4, 0.002);
}

double cooling_time_s(double to_air_w_per_k) {
  Temperatures t{65, 65};
  double time_s = 0;
  while (t.sink_c - kAmbientC > 40 / 2.718281828) {
    t = stepped(t, 0, to_air_w_per_k, kStepS);
    time_s += kStepS;
  }
  return time_s;
}

TEST(Thermal, SinkTakesTensOfSecondsAndLongerInStillAir) {
  EXPECT_NEAR(cooling_time_s(5.5), 152 / 5.5, 0.5);
  EXPECT_NEAR(cooling_time_s(1.5), 152 / 1.5, 1.0);
}

}  // namespace
}  // namespace simulated
