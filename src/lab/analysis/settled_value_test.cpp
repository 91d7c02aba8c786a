#include "lab/analysis/settled_value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace lab {
namespace {

struct Shown {
  std::vector<double> time_s;
  std::vector<double> values;
};

/// 20 + 10 (1 - exp(-t / 30)) and a fast part, for so long, with that noise.
Shown approaching(double length_s, double noise, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::normal_distribution<double> normal(0, 1);
  Shown record;
  for (double t = 0; t < length_s; t += 0.1) {
    record.time_s.push_back(t);
    record.values.push_back(30 - 10 * std::exp(-t / 30) - 5 * std::exp(-t / 0.5) +
                            noise * normal(random));
  }
  return record;
}

TEST(SettledValue, IsTheEndOfAnExponentialThatHasNotCome) {
  const Shown record = approaching(75, 0);
  const SettledValue value = settled_value(record.time_s, record.values, "degC");
  EXPECT_TRUE(value.settled);
  EXPECT_NEAR(value.value.value, 30, 0.01);
  EXPECT_NEAR(value.to_come, 10 * std::exp(-75.0 / 30), 0.03);
  EXPECT_NEAR(value.constants.best_s, 30, 1.5) << "the grid has steps of 5 %";
  EXPECT_EQ(value.value.unit, "degC");
}

TEST(SettledValue, HasAnIntervalThatHoldsTheTruthInNineteenOfTwentyRecords) {
  int held = 0;
  constexpr int kRecords = 200;
  for (unsigned seed = 1; seed <= kRecords; ++seed) {
    const Shown record = approaching(75, 0.2, seed);
    const SettledValue value = settled_value(record.time_s, record.values, "degC");
    held += value.value.low <= 30 && value.value.high >= 30 ? 1 : 0;
  }
  EXPECT_GE(held, kRecords * 92 / 100);
}

TEST(SettledValue, IsTheMeanOfWhatDoesNotMove) {
  Shown record = approaching(60, 0);
  std::mt19937 random(3);
  std::normal_distribution<double> normal(50, 1);
  for (double& value : record.values) {
    value = normal(random);
  }
  const SettledValue value = settled_value(record.time_s, record.values, "W");
  EXPECT_TRUE(value.settled);
  EXPECT_NEAR(value.value.value, 50, 0.2);
  EXPECT_LT(value.value.high - value.value.low, 0.4);
  EXPECT_EQ(value.to_come, 0);
}

TEST(SettledValue, OfAStraightLineIsNotKnown) {
  Shown record = approaching(60, 0);
  for (std::size_t row = 0; row < record.values.size(); ++row) {
    record.values[row] = 20 + 0.1 * record.time_s[row];
  }
  EXPECT_FALSE(settled_value(record.time_s, record.values, "degC").settled);
}

TEST(SettledValue, OfARecordShorterThanItsTimeConstantIsNotKnown) {
  const Shown record = approaching(25, 0);
  EXPECT_FALSE(settled_value(record.time_s, record.values, "degC").settled);
}

// Three records end between 0.36 and 0.5 of the way in their last two thirds.
TEST(SettledValue, OfWhatEndedEarlyIsForetoldWithAWiderInterval) {
  for (const double length_s : {35.0, 40.0, 43.0}) {
    const Shown record = approaching(length_s, 0.01);
    const SettledValue value = settled_value(record.time_s, record.values, "degC");
    EXPECT_TRUE(value.settled) << length_s;
    EXPECT_TRUE(value.foretold) << length_s;
    EXPECT_LE(value.value.low, 30);
    EXPECT_GE(value.value.high, 30);
    EXPECT_GT(value.value.high - value.value.low, 0.2 * 9 * std::exp(-length_s / 30)) << length_s;
    EXPECT_LT(value.value.high - value.value.low, 4) << length_s;
  }
  EXPECT_FALSE(settled_value(approaching(75, 0).time_s, approaching(75, 0).values, "W").foretold);
}

TEST(SettledValue, OfWhatEndedEarlyInNoiseIsNotKnown) {
  int bounded = 0;
  int held = 0;
  constexpr int kRecords = 200;
  for (unsigned seed = 1; seed <= kRecords; ++seed) {
    const Shown record = approaching(40, 0.3, seed);
    const SettledValue value = settled_value(record.time_s, record.values, "degC");
    bounded += value.settled ? 1 : 0;
    held += value.settled && value.value.low <= 30 && value.value.high >= 30 ? 1 : 0;
  }
  EXPECT_GE(held, bounded * 92 / 100) << "of " << bounded;
}

TEST(SettledValue, OfANoisyKeyFollowsTheTimeConstantOfAClearOne) {
  const Shown clear = approaching(75, 0);
  const Shown noisy = approaching(75, 2, 7);
  const TimeConstants constants = settled_value(clear.time_s, clear.values, "degC").constants;
  const SettledValue value = settled_value(noisy.time_s, noisy.values, "W", constants);
  EXPECT_NEAR(value.value.value, 30, 0.6);
  EXPECT_LE(value.value.low, 30);
  EXPECT_GE(value.value.high, 30);
  EXPECT_LT(value.value.high - value.value.low, 1.6);
}

TEST(SettledValue, OfASensorThatStandsOnAStepMayBeHalfOfItOff) {
  Shown record = approaching(60, 0);
  for (std::size_t row = 0; row < record.values.size(); ++row) {
    record.values[row] = row == 5 ? 30 : row == 9 ? 32 : 31;
  }
  const SettledValue value = settled_value(record.time_s, record.values, "degC");
  EXPECT_LE(value.value.low, 30.5);
  EXPECT_GE(value.value.high, 31.5);
}

TEST(SettledValue, OfAHandfulOfSamplesIsNotKnown) {
  const std::vector<double> time_s{0, 1, 2};
  const std::vector<double> values{1, 2, 3};
  const SettledValue value = settled_value(time_s, values, "W");
  EXPECT_FALSE(value.settled);
  EXPECT_TRUE(std::isnan(value.value.value));
}

}  // namespace
}  // namespace lab
