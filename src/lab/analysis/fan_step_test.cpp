#include "lab/analysis/fan_step.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace lab {
namespace {

struct Turned {
  std::vector<double> since_s;
  std::vector<double> speeds_rpm;
};

/// From 5200 to `to` RPM with 1.5 s, `dead_s` after it was asked for, at 20 Hz.
Turned stepped(double to, double dead_s, double noise = 0, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::normal_distribution<double> normal(0, 1);
  Turned turned;
  for (double t = -0.03; t < 8; t += 0.05) {
    const double gone = t > dead_s ? 1 - std::exp(-(t - dead_s) / 1.5) : 0;
    turned.since_s.push_back(t);
    turned.speeds_rpm.push_back(5200 + (to - 5200) * gone + noise * normal(random));
  }
  return turned;
}

TEST(FanStep, TellsTimeConstantDeadTimeAndWhereItLeads) {
  const Turned turned = stepped(800, 0.2);
  const FanStep step = fan_step(turned.since_s, turned.speeds_rpm, 5200);
  ASSERT_TRUE(step.known);
  EXPECT_NEAR(step.time_constant.value, 1.5, 0.01);
  EXPECT_NEAR(step.dead_time.value, 0.2, 0.01);
  EXPECT_NEAR(step.to_rpm.value, 800, 5);
}

TEST(FanStep, HoldsTheTruthInItsIntervalsInNineteenOfTwentySteps) {
  int constants = 0;
  int dead_times = 0;
  constexpr int kSteps = 200;
  for (unsigned seed = 1; seed <= kSteps; ++seed) {
    const Turned turned = stepped(800, 0.2, 30, seed);
    const FanStep step = fan_step(turned.since_s, turned.speeds_rpm, 5200);
    constants += step.time_constant.low <= 1.5 && step.time_constant.high >= 1.5 ? 1 : 0;
    dead_times += step.dead_time.low <= 0.2 && step.dead_time.high >= 0.2 ? 1 : 0;
  }
  EXPECT_GE(constants, kSteps * 92 / 100);
  EXPECT_GE(dead_times, kSteps * 92 / 100);
}

TEST(FanStep, OfAFanThatDoesNotFollowIsNotKnown) {
  const Turned turned = stepped(5200, 0, 5);
  EXPECT_FALSE(fan_step(turned.since_s, turned.speeds_rpm, 5200).known);
}

TEST(FanStep, OfASlowTachometerCountsNewSpeedsAlone) {
  Turned turned = stepped(800, 0);
  for (std::size_t at = 0; at < turned.speeds_rpm.size(); ++at) {
    turned.speeds_rpm[at] = turned.speeds_rpm[at - at % 10];  // twice a second
  }
  const FanStep step = fan_step(turned.since_s, turned.speeds_rpm, 5200);
  ASSERT_TRUE(step.known);
  EXPECT_NEAR(step.time_constant.value, 1.5, 0.05);
}

TEST(FanStop, IsTheLastSpeedBeforeStandstill) {
  Turned turned = stepped(0, 0);
  for (double& speed : turned.speeds_rpm) {
    speed = speed < 60 ? 0 : speed;
  }
  const FanStop stop = fan_stop(turned.since_s, turned.speeds_rpm);
  ASSERT_TRUE(stop.stands_still);
  EXPECT_LE(stop.speed_rpm.low, 60);
  EXPECT_GE(stop.speed_rpm.high, 60);
  EXPECT_LT(stop.speed_rpm.high - stop.speed_rpm.low, 4);
  EXPECT_NEAR(stop.after_s.value, 1.5 * std::log(5200.0 / 60), 0.05);
}

TEST(FanStop, OfAFanThatGoesOnIsNone) {
  const Turned turned = stepped(300, 0);
  EXPECT_FALSE(fan_stop(turned.since_s, turned.speeds_rpm).stands_still);
}

TEST(FanStart, IsWhenItIsFirstSeenToTurn) {
  const std::vector<double> since_s{-0.05, 0.05, 0.15, 0.25};
  const auto start = fan_start(since_s, std::vector<double>{0, 0, 0, 40});
  ASSERT_TRUE(start);
  EXPECT_EQ(start->low, 0.15);
  EXPECT_EQ(start->high, 0.25);
  EXPECT_FALSE(fan_start(since_s, std::vector<double>{0, 0, 0, 0}));
}

TEST(SteadySpeedOfAFan, IsOneThatItKeeps) {
  Turned turned = stepped(800, 0);
  const SteadySpeed kept = steady_speed(turned.since_s, turned.speeds_rpm);
  EXPECT_FALSE(kept.steady) << "it still slows down in the last half";
  for (std::size_t at = 0; at < turned.speeds_rpm.size(); ++at) {
    turned.speeds_rpm[at] = 800 + static_cast<double>(at % 3);
  }
  EXPECT_TRUE(steady_speed(turned.since_s, turned.speeds_rpm).steady);
  EXPECT_NEAR(steady_speed(turned.since_s, turned.speeds_rpm).rpm.value, 801, 0.5);
  turned.speeds_rpm.back() = 0;
  EXPECT_FALSE(steady_speed(turned.since_s, turned.speeds_rpm).steady) << "it stalls";
}

}  // namespace
}  // namespace lab
