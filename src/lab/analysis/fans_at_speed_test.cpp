#include "lab/analysis/fans_at_speed.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lab {
namespace {

struct Fan {
  std::vector<double> time_s;
  Column column{"F0Ac", "RPM", "", {}};

  Fan() {
    for (int second = 0; second < 100; ++second) {
      time_s.push_back(second);
      column.values.push_back(5200 - 4400 * std::exp(-second / 1.5));
    }
  }
};

TEST(FansAtSpeed, AreSoOnceTheyKeepTheirSpeed) {
  const Fan fan;
  EXPECT_EQ(fans_at_speed(fan.time_s, {fan.column}, 10), 6U);  // 4400 exp(-6 / 1.5) is 81
}

TEST(FansAtSpeed, AreThatOfTheSlowestOfThem) {
  const Fan fan;
  Column other = fan.column;
  other.values[8] = 5000;
  other.values[4] = NAN;
  const Column temperature{"TC0D", "degC", "", fan.time_s};
  EXPECT_EQ(fans_at_speed(fan.time_s, {fan.column, other, temperature}, 10), 9U);
}

TEST(FansAtSpeed, IsNothingToWaitForIfTheyMoveAfterTheFirstChangeOfHeat) {
  Fan fan;
  EXPECT_EQ(fans_at_speed(fan.time_s, {fan.column}, 6), 0U);
  fan.column.values.back() = 3000;
  EXPECT_EQ(fans_at_speed(fan.time_s, {fan.column}, 1000), 0U);
  EXPECT_EQ(fans_at_speed(fan.time_s, {}, 1000), 0U);
}

}  // namespace
}  // namespace lab
