#include "vorn/sampling_grid.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <limits>

namespace {

constexpr double kPeriod = 0.1;

SamplingGrid grid_of(std::initializer_list<double> times, double end) {
  SamplingGrid grid(kPeriod);
  for (const double time : times) {
    grid.taken({time, time});
  }
  grid.ended({end, end});
  return grid;
}

/// Samples of a wall clock that is set by `step` seconds between the third and the fourth, and
/// those after it on the points that it then shows.
SamplingGrid grid_across(double step, double next, double end) {
  SamplingGrid grid(kPeriod);
  for (const double time : {0.0, 0.1, 0.2}) {
    grid.taken({time, time});
  }
  grid.taken({0.3 + step, 0.3});
  grid.taken({next, next - step});
  grid.taken({next + kPeriod, next + kPeriod - step});
  grid.ended({end, end - step});
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

TEST(SamplingGrid, FindsNothingWrongWithAClockThatIsSet) {
  for (const SamplingGrid& grid :
       {grid_across(0.037, 0.4, 0.55), grid_across(0.063, 0.4, 0.55),
        grid_across(3600.05, 3600.4, 3600.55), grid_across(-0.037, 0.3, 0.45),
        grid_across(-0.063, 0.3, 0.45), grid_across(-0.25, 0.1, 0.25)}) {
    EXPECT_EQ(grid.late(), 0U);
    EXPECT_EQ(grid.left_out(), 0U);
    EXPECT_EQ(grid.points(), 6U);
    EXPECT_LT(grid.longest_gap(), 0.15);
  }
}

TEST(SamplingGrid, CountsWhatIsLeftOutAfterAClockWasSet) {
  SamplingGrid grid(kPeriod);
  grid.taken({0.0, 0.0});
  grid.taken({50.35, 0.35});
  EXPECT_EQ(grid.late(), 1U);
  EXPECT_EQ(grid.left_out(), 2U) << "at 50.1 and 50.2";
  EXPECT_DOUBLE_EQ(grid.longest_gap(), 0.35);
}

TEST(SamplingGrid, IsNotMisledByAClockThatIsSetBeforeTheEnd) {
  SamplingGrid grid(kPeriod);
  grid.taken({0.0, 0.0});
  grid.ended({3600.05, 0.05});
  EXPECT_EQ(grid.left_out(), 0U);
}

TEST(SamplingGrid, BeganLateIfASampleIsMissingBeforeItOrTheHalfSecondBeforeTheLoad) {
  EXPECT_FALSE(SamplingGrid(kPeriod).began_late());
  EXPECT_FALSE(SamplingGrid(0.2, 0.19).began_late());
  EXPECT_TRUE(SamplingGrid(0.2, 0.2).began_late());
  EXPECT_FALSE(SamplingGrid(0.001, 0.09).began_late()) << "which the sensors may take";
  EXPECT_TRUE(SamplingGrid(0.001, 0.11).began_late());
  EXPECT_FALSE(SamplingGrid(60.0, 0.49).began_late());
  EXPECT_TRUE(SamplingGrid(60.0, 0.51).began_late());
}

TEST(SamplingGrid, CountsOnWithAPeriodThatNoClockCanFollow) {
  for (const double rate : {1e300, std::numeric_limits<double>::infinity()}) {
    SamplingGrid grid(1.0 / rate);
    for (const double time : {1e-5, 0.1, 0.2}) {
      grid.taken({time, time});
    }
    grid.ended({0.3, 0.3});
    EXPECT_GT(grid.left_out(), 1000000000000000000U);
    EXPECT_LE(grid.left_out(), grid.points());
    EXPECT_LT(grid.points(), std::uint64_t{1} << 63U);
  }
}

}  // namespace
