#include "vorn/sampling_grid.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace {

constexpr double kPeriod = 0.1;

SamplingGrid grid_of(std::initializer_list<double> times, double end) {
  SamplingGrid grid(kPeriod);
  for (const double time : times) {
    grid.taken(time);
  }
  grid.ended(end);
  return grid;
}

TEST(SamplingGrid, FindsNothingWrongWithASampleForEachPoint) {
  const SamplingGrid grid = grid_of({0.00001, 0.1002, 0.2049, 0.3}, 0.35);
  EXPECT_EQ(grid.points(), 4U);
  EXPECT_EQ(grid.late(), 0U);
  EXPECT_EQ(grid.left_out(), 0U);
}

TEST(SamplingGrid, TakesASampleAMomentBeforeItsPointForThatPoints) {
  const SamplingGrid grid = grid_of({0.0, 0.09995, 0.19995}, 0.21);
  EXPECT_EQ(grid.late(), 0U);
  EXPECT_EQ(grid.left_out(), 0U);
  EXPECT_EQ(grid.points(), 3U);
}

TEST(SamplingGrid, CallsASampleLateThatComesInTheSecondHalfOfItsPeriod) {
  const SamplingGrid grid = grid_of({0.0, 0.149, 0.252}, 0.3);
  EXPECT_EQ(grid.late(), 1U);
  EXPECT_EQ(grid.left_out(), 0U);
  EXPECT_DOUBLE_EQ(grid.longest_gap(), 0.149);
}

TEST(SamplingGrid, CountsPointsBetweenTwoSamplesAsLeftOut) {
  const SamplingGrid grid = grid_of({0.0, 0.1, 0.42, 0.5}, 0.55);
  EXPECT_EQ(grid.left_out(), 2U);
  EXPECT_EQ(grid.late(), 0U);
  EXPECT_EQ(grid.points(), 6U);
  EXPECT_DOUBLE_EQ(grid.longest_gap(), 0.42 - 0.1);
}

TEST(SamplingGrid, CountsPointsBeforeTheEndAsLeftOut) {
  const SamplingGrid grid = grid_of({0.0, 0.1}, 0.47);
  EXPECT_EQ(grid.left_out(), 3U) << "at 0.2, 0.3 and 0.4";
  EXPECT_DOUBLE_EQ(grid.longest_gap(), 0.47 - 0.1);
}

TEST(SamplingGrid, DoesNotMissAPointThatTheEndOvertook) {
  EXPECT_EQ(grid_of({0.0, 0.1}, 0.24).left_out(), 0U);
}

TEST(SamplingGrid, SurvivesAClockThatIsSetBack) {
  const SamplingGrid grid = grid_of({0.0, 0.1, 0.2, -5.0, -4.9}, -4.85);
  EXPECT_EQ(grid.left_out(), 0U);
  EXPECT_EQ(grid.points(), 5U);
}

}  // namespace
