#include "lab/analysis/spread.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lab {
namespace {

TEST(Spread, CountsThoseThatWereNeverSeenAsTheLatest) {
  const Spread spread({30, 10, 20}, 1);
  EXPECT_EQ(spread.count(), 4U);
  EXPECT_EQ(spread.at(0), 10);
  EXPECT_EQ(spread.at(0.5), 20);
  EXPECT_EQ(spread.at(0.75), 30);
  EXPECT_EQ(spread.at(0.76), INFINITY);
  EXPECT_EQ(spread.most(), 30);
}

TEST(Spread, OfNothingIsNotANumber) {
  EXPECT_TRUE(std::isnan(Spread().at(0.5)));
  EXPECT_TRUE(std::isnan(Spread().most()));
  EXPECT_EQ(Spread({}, 2).at(0.5), INFINITY);
}

}  // namespace
}  // namespace lab
