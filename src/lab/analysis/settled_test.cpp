#include "lab/analysis/settled.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace lab {
namespace {

// Goes to 60 with a time constant of 28 s, from 40.
double approach(double time_s) {
  return 60 - 20 * std::exp(-time_s / 28);
}

TEST(Settled, IsAValueThatHasLessToGoThanIsAllowed) {
  SettledWatch watch(30, 0.5);
  double settled_s = 0;
  for (int at = 0; at < 3000 && settled_s == 0; ++at) {
    watch.add(0.1 * at, approach(0.1 * at));
    if (at % 10 == 0 && watch.judge().settled) {
      settled_s = 0.1 * at;
    }
  }
  // 0.5 K are left after 103 s.
  EXPECT_GE(settled_s, 28 * std::log(20 / 0.5));
  EXPECT_LT(settled_s, 140);
}

TEST(Settled, TellsHowMuchIsStillToCome) {
  SettledWatch watch(30, 0.1);
  for (int at = 0; at < 600; ++at) {
    watch.add(0.1 * at, approach(0.1 * at));
  }
  const Settledness now = watch.judge();
  EXPECT_TRUE(now.known);
  EXPECT_FALSE(now.settled);
  EXPECT_GE(now.to_come, 60 - approach(60));
  EXPECT_LT(now.to_come, 3 * (60 - approach(60)));
}

TEST(Settled, IsNotKnownBeforeAWholeStretch) {
  SettledWatch watch(30, 0.5);
  for (int at = 0; at < 290; ++at) {
    watch.add(0.1 * at, 50);
  }
  EXPECT_FALSE(watch.judge().known);
  EXPECT_FALSE(watch.judge().settled);
}

TEST(Settled, NoiseIsNotDrift) {
  std::mt19937_64 random(1);
  std::normal_distribution<double> noise(0, 0.3);
  SettledWatch watch(30, 0.5);
  for (int at = 0; at < 400; ++at) {
    watch.add(0.1 * at, 50 + noise(random));
  }
  EXPECT_TRUE(watch.judge().settled);
}

TEST(Settled, DriftIsFoundInNoise) {
  std::mt19937_64 random(1);
  std::normal_distribution<double> noise(0, 0.3);
  SettledWatch watch(30, 0.5);
  for (int at = 0; at < 400; ++at) {
    watch.add(0.1 * at, 50 + 0.1 * 0.1 * at + noise(random));
  }
  EXPECT_FALSE(watch.judge().settled);
  EXPECT_NEAR(watch.judge().drift, 3, 0.3);
}

TEST(Settled, ACoarseSensorIsAskedForHalfItsStep) {
  SettledWatch watch(30, 0.1, 1);
  for (int at = 0; at < 400; ++at) {
    watch.add(0.1 * at, 50);
  }
  EXPECT_TRUE(watch.judge().settled);
  EXPECT_TRUE(watch.judge().coarse);
}

TEST(Settled, ValuesThatWereNotReadDoNotCount) {
  SettledWatch watch(30, 0.5);
  for (int at = 0; at < 400; ++at) {
    watch.add(0.1 * at, at % 2 == 0 ? 50 : std::nan(""));
  }
  EXPECT_TRUE(watch.judge().settled);
}

TEST(Settled, JudgesARecordAsItJudgesAWatchedValue) {
  std::vector<double> time_s;
  std::vector<double> moving;
  std::vector<double> still;
  for (int at = 0; at <= 600; ++at) {
    time_s.push_back(1000 + 0.1 * at);
    moving.push_back(approach(0.1 * at));
    still.push_back(55);
  }
  EXPECT_FALSE(judge_settled(time_s, moving, 0.5).settled);
  EXPECT_TRUE(judge_settled(time_s, moving, 0.5).known);
  EXPECT_TRUE(judge_settled(time_s, still, 0.5).settled);
}

}  // namespace
}  // namespace lab
