#include "lab/report/axis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace lab {
namespace {

using testing::ElementsAre;

constexpr auto kLinear = Chart::Scale::linear;
constexpr auto kLogarithmic = Chart::Scale::logarithmic;

std::vector<std::string> numbers(const Axis& axis, int most) {
  std::vector<std::string> texts;
  for (const Axis::Tick& tick : axis.ticks(most)) {
    if (!tick.text.empty()) {
      texts.push_back(tick.text);
    }
  }
  return texts;
}

TEST(Axis, HasRoundNumbers) {
  EXPECT_THAT(numbers(Axis(kLinear, Axis::Margin::none, {0, 180}), 10),
              ElementsAre("0", "20", "40", "60", "80", "100", "120", "140", "160", "180"));
  EXPECT_THAT(numbers(Axis(kLinear, Axis::Margin::none, {-0.1, 0.2}), 3),
              ElementsAre("-0.1", "0", "0.1", "0.2"));
}

TEST(Axis, HasPowersOfTenOnALogarithmicScale) {
  EXPECT_THAT(numbers(Axis(kLogarithmic, Axis::Margin::none, {0.1, 100}), 6),
              ElementsAre("0.1", "1", "10", "100"));
  EXPECT_THAT(numbers(Axis(kLogarithmic, Axis::Margin::none, {2, 12}), 6),
              ElementsAre("2", "5", "10"));
}

// Of 1e18, a double knows only every 128th number.
TEST(Axis, OfValuesThatHardlyDifferHasAnEnd) {
  EXPECT_LE(Axis(kLinear, Axis::Margin::none, {1e18, 1e18 + 512}).ticks(6).size(), 8U);
}

TEST(Axis, PlacesValuesBetweenItsEnds) {
  const Axis linear(kLinear, Axis::Margin::none, {10, 20});
  EXPECT_DOUBLE_EQ(linear.place(10), 0);
  EXPECT_DOUBLE_EQ(linear.place(15), 0.5);
  const Axis logarithmic(kLogarithmic, Axis::Margin::none, {1, 100});
  EXPECT_DOUBLE_EQ(logarithmic.place(10), 0.5);
  EXPECT_TRUE(std::isnan(logarithmic.place(0)));
}

TEST(Axis, SpansWhatItsScaleCanShow) {
  const double nothing = std::numeric_limits<double>::quiet_NaN();
  const double infinite = std::numeric_limits<double>::infinity();
  const Axis axis(kLogarithmic, Axis::Margin::none, {-1, 0, nothing, 10, 1000, infinite});
  EXPECT_DOUBLE_EQ(axis.place(10), 0);
  EXPECT_DOUBLE_EQ(axis.place(1000), 1);
}

TEST(Axis, HasALengthWithoutValuesAndWithOne) {
  EXPECT_TRUE(std::isfinite(Axis(kLinear, Axis::Margin::some, {}).place(0)));
  EXPECT_DOUBLE_EQ(Axis(kLinear, Axis::Margin::some, {5}).place(5), 0.5);
  EXPECT_DOUBLE_EQ(Axis(kLogarithmic, Axis::Margin::some, {5}).place(5), 0.5);
}

}  // namespace
}  // namespace lab
