#include "lab/report/thinning.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

namespace lab {
namespace {

using testing::ElementsAre;

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

std::vector<double> counting(std::size_t rows) {
  std::vector<double> values(rows);
  std::iota(values.begin(), values.end(), 0.0);
  return values;
}

TEST(Thinning, KeepsRowsThatAreFewEnough) {
  const Thinning thinning(4, 4);
  EXPECT_THAT(thinning.positions({0, 1, 2, 3}), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(thinning.values({5, 6, 7, 8}), ElementsAre(5, 6, 7, 8));
  EXPECT_EQ(thinning.rows_in_a_bucket(), 1);
}

TEST(Thinning, MakesTheExtremesOfNeighboursTwoPointsInTheirOrder) {
  const Thinning thinning(8, 4);
  EXPECT_THAT(thinning.positions({0, 1, 2, 3, 4, 5, 6, 7}), ElementsAre(0, 3, 4, 7));
  EXPECT_THAT(thinning.values({2, 9, 1, 3, 0, 5, 7, 4}), ElementsAre(9, 1, 0, 7));
  EXPECT_EQ(thinning.rows_in_a_bucket(), 4);
}

TEST(Thinning, KeepsEveryPeakOfALongTable) {
  constexpr std::size_t kRows = 864'000;
  std::vector<double> values(kRows, 40);
  const Thinning thinning(kRows, 2000);
  for (const std::size_t peak : {std::size_t{0}, kRows / 3, kRows - 1}) {
    values[peak] = 150;
    const std::vector<double> thinned = thinning.values(values);
    EXPECT_LE(thinned.size(), 2002U);
    EXPECT_EQ(std::count(thinned.begin(), thinned.end(), 150), 1) << peak;
    values[peak] = 40;
  }
}

TEST(Thinning, LeavesOutWhatWasNotMeasured) {
  const Thinning thinning(6, 4);
  const std::vector<double> thinned =
      thinning.values({kNothing, 2, 1, kNothing, kNothing, kNothing});
  EXPECT_THAT(std::vector(thinned.begin(), thinned.begin() + 2), ElementsAre(2, 1));
  EXPECT_TRUE(std::isnan(thinned[2]));
  EXPECT_TRUE(std::isnan(thinned[3]));
}

TEST(Thinning, DrawsNoPointForRowsOnBothSidesOfABreak) {
  std::vector<double> values(100, 1);
  values[50] = kNothing;
  const Thinning thinning(100, 4, {49, 50});
  EXPECT_THAT(thinning.positions(counting(100)), ElementsAre(0, 49, 50, 50, 51, 99));
  EXPECT_TRUE(std::isnan(thinning.values(values)[2]));
}

TEST(Thinning, ThinsTheBandOfASeriesToo) {
  const std::vector<double> rising = counting(100);
  const Series series{.name = "a",
                      .style = Series::Style::line,
                      .x = rising,
                      .y = rising,
                      .low = std::vector<double>(100, -1),
                      .high = rising};
  const Series few = thinned(series, 10);
  EXPECT_EQ(few.x.size(), 10U);
  EXPECT_EQ(few.low.size(), 10U);
  EXPECT_EQ(few.high.back(), 99);
}

TEST(Thinning, LeavesALoopAsItIs) {
  std::vector<double> there_and_back = counting(50);
  const std::vector<double> there = there_and_back;
  there_and_back.insert(there_and_back.end(), there.rbegin(), there.rend());
  const Series series{.name = "a",
                      .style = Series::Style::line,
                      .x = there_and_back,
                      .y = counting(100),
                      .low = {},
                      .high = {}};
  EXPECT_EQ(thinned(series, 10).x.size(), 100U);
}

}  // namespace
}  // namespace lab
