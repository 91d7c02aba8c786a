#include "vorn/drift_correction.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

ClockPair clocks{0.0, 0.0};

ClockPair test_clocks() {
  return clocks;
}

void pass(double seconds, double faster = 1.0) {
  clocks.monotonic += seconds;
  clocks.wall += seconds * faster;
}

class DriftCorrectionTest : public testing::Test {
 protected:
  DriftCorrectionTest() { clocks = {.wall = 1e6, .monotonic = 100.0}; }
};

/// Plays `periods` of a square wave of `half` seconds under a wall clock that runs `faster` than
/// the monotonic one. Returns the factor after each period.
std::vector<double> play(double half, double faster, int intervals, int periods) {
  DriftCorrection drift(2.0 * half, test_clocks);
  std::vector<double> scales;
  for (int period = 0; period < periods; ++period) {
    for (int i = 0; i < intervals; ++i) {
      pass(drift.corrected(half), faster);
      drift.interval_ended();
    }
    scales.push_back(drift.scale());
  }
  return scales;
}

TEST_F(DriftCorrectionTest, LeavesIntervalsAloneUntilTheFirstTenSecondsHavePassed) {
  DriftCorrection drift(1.0, test_clocks);
  for (int interval = 0; interval < 19; ++interval) {
    pass(0.5, 1.0008);
    drift.interval_ended();
    EXPECT_EQ(drift.corrected(500000), 500000);
  }
  pass(0.5, 1.0008);
  drift.interval_ended();
  EXPECT_NEAR(drift.scale(), 1.0008, 1e-9);
  EXPECT_NEAR(drift.corrected(500000), 500000 / 1.0008, 1e-3);
}

TEST_F(DriftCorrectionTest, ReplacesTheFactorSoASteadyDriftAlternates) {
  const std::vector<double> scales = play(0.5, 1.0005, 20, 4);
  EXPECT_NEAR(scales[0], 1.0005, 1e-9);
  EXPECT_NEAR(scales[1], 1.0, 1e-9);
  EXPECT_NEAR(scales[2], 1.0005, 1e-9);
  EXPECT_NEAR(scales[3], 1.0, 1e-9);
}

TEST_F(DriftCorrectionTest, LateWakeUpsAndStopsAreNotADrift) {
  DriftCorrection drift(1.0, test_clocks);
  for (int interval = 0; interval < 20; ++interval) {
    pass(interval == 7 ? 30.0 : 0.6);
    drift.interval_ended();
  }
  EXPECT_NEAR(drift.scale(), 1.0, 1e-9);
}

TEST_F(DriftCorrectionTest, ASlotOfTwentySecondsOrMoreIsAPeriodOfItsOwn) {
  DriftCorrection drift(20.0, test_clocks);
  pass(10.0, 1.0004);
  drift.interval_ended();
  EXPECT_EQ(drift.scale(), 1.0);
  pass(10.0, 1.0004);
  drift.interval_ended();
  EXPECT_NEAR(drift.scale(), 1.0004, 1e-9);
}

TEST_F(DriftCorrectionTest, CountsIntervalsOfNoLengthToo) {
  DriftCorrection drift(10.0, test_clocks);
  drift.interval_ended();
  pass(10.0, 1.0004);
  drift.interval_ended();
  EXPECT_NEAR(drift.scale(), 1.0004, 1e-9);
}

TEST_F(DriftCorrectionTest, AStepOfTheWallClockEitherWayIsNotADrift) {
  for (const double step : {-1e6, -0.1, 0.1, 1e6}) {
    DriftCorrection drift(10.0, test_clocks);
    pass(10.0);
    clocks.wall += step;
    drift.interval_ended();
    drift.interval_ended();
    EXPECT_EQ(drift.scale(), 1.0) << step;
  }
}

TEST_F(DriftCorrectionTest, APeriodOfNoLengthIsNotADrift) {
  DriftCorrection drift(10.0, test_clocks);
  drift.interval_ended();
  drift.interval_ended();
  EXPECT_EQ(drift.scale(), 1.0);
}

TEST_F(DriftCorrectionTest, AStepUnderACorrectionEndsTheCorrection) {
  DriftCorrection drift(20.0, test_clocks);
  pass(20.0, 1.0005);
  drift.interval_ended();
  drift.interval_ended();
  ASSERT_NEAR(drift.scale(), 1.0005, 1e-9);
  pass(20.0);
  clocks.wall -= 3600.0;
  drift.interval_ended();
  drift.interval_ended();
  EXPECT_EQ(drift.scale(), 1.0);
}

}  // namespace
