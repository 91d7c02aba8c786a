#include "lab/analysis/approach.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace lab {
namespace {

struct Record {
  std::vector<double> time_s;
  std::vector<double> values;
};

template <class Shape>
Record record_of(double length_s, Shape shape) {
  Record record;
  for (int row = 0; row * 0.1 <= length_s; ++row) {
    record.time_s.push_back(100 + row * 0.1);
    record.values.push_back(shape(row * 0.1));
  }
  return record;
}

TEST(Approach, OfAnExponentialIsKnown) {
  for (const double length_s : {20.0, 60.0, 120.0}) {
    const Record record = record_of(length_s, [](double t) { return 40 - 10 * std::exp(-t / 28); });
    const Approach found = approach(record.time_s, record.values);
    EXPECT_NEAR(found.to_come, 10 * std::exp(-length_s / 28), 0.2) << length_s;
    EXPECT_NEAR(found.tau_s, 28, 2) << length_s;
  }
}

TEST(Approach, IsSeenThroughNoiseAndDips) {
  std::mt19937 random(1);
  std::normal_distribution<double> noise(0, 0.3);
  const Record record = record_of(85, [&](double t) {
    return 60 - 20 * std::exp(-t / 28) + noise(random) - (std::fmod(t, 1) < 0.05 ? 1.5 : 0);
  });
  EXPECT_NEAR(approach(record.time_s, record.values).to_come, 20 * std::exp(-85.0 / 28), 0.35);
}

TEST(Approach, OfAStraightLineHasNoEnd) {
  const Record record = record_of(60, [](double t) { return 30 + 0.1 * t; });
  EXPECT_TRUE(std::isinf(approach(record.time_s, record.values).to_come));
}

TEST(Approach, SaysHowClearTheWayIs) {
  std::mt19937 random(1);
  std::normal_distribution<double> noise(0, 2);
  const auto rising = [](double t) { return 40 - 10 * std::exp(-t / 28); };
  const Record clear = record_of(60, rising);
  const Record noisy = record_of(60, [&](double) { return 30 + noise(random); });
  const Record straight = record_of(60, [&](double t) { return t + 0.1 * noise(random); });
  EXPECT_GT(approach(clear.time_s, clear.values).clearness, 100);
  EXPECT_LT(approach(noisy.time_s, noisy.values).clearness, 5);
  EXPECT_GT(approach(straight.time_s, straight.values).clearness, 100);
}

TEST(Approach, OfANoisyValueTakesTheTimeConstantOfAnother) {
  std::mt19937 random(2);
  std::normal_distribution<double> noise(0, 2);
  const Record noisy =
      record_of(85, [&](double t) { return 60 - 20 * std::exp(-t / 28) + noise(random); });
  const Approach found = approach(noisy.time_s, noisy.values, 28);
  EXPECT_EQ(found.tau_s, 28);
  EXPECT_NEAR(found.to_come, 20 * std::exp(-85.0 / 28), 0.1);
}

TEST(Approach, OfAStillValueIsOver) {
  const Record record = record_of(60, [](double) { return 25.0; });
  EXPECT_EQ(approach(record.time_s, record.values).to_come, 0);
}

TEST(Approach, OfNothingHasNoEnd) {
  EXPECT_TRUE(std::isinf(approach({}, {}).to_come));
  const std::vector<double> one{1};
  EXPECT_TRUE(std::isinf(approach(one, one).to_come));
}

TEST(Approach, LeavesOutWhatWasNotMeasured) {
  Record record = record_of(60, [](double t) { return 40 - 10 * std::exp(-t / 28); });
  for (std::size_t row = 0; row < record.values.size(); row += 2) {
    record.values[row] = std::nan("");
  }
  EXPECT_NEAR(approach(record.time_s, record.values).to_come, 10 * std::exp(-60.0 / 28), 0.2);
}

}  // namespace
}  // namespace lab
