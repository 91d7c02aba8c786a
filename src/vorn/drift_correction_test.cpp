#include "vorn/drift_correction.h"

#include <gtest/gtest.h>

namespace {

double time_now = 0.0;

double test_clock() {
  return time_now;
}

/// Plays `periods` of a square wave of `half` microseconds whose every sleep takes `overrun` times
/// what was asked for. Returns the factor after each period.
std::vector<double> play(double half, double overrun, int intervals, int periods) {
  time_now = 100.0;
  DriftCorrection drift(2.0 * half / 1e6, test_clock);
  std::vector<double> scales;
  for (int period = 0; period < periods; ++period) {
    for (int i = 0; i < intervals; ++i) {
      time_now += drift.corrected(static_cast<std::uint32_t>(half)) * overrun / 1e6;
      drift.interval_ended();
    }
    scales.push_back(drift.scale());
  }
  return scales;
}

TEST(DriftCorrection, LeavesSleepsAloneUntilTheFirstTenSecondsHavePassed) {
  time_now = 0.0;
  DriftCorrection drift(1.0, test_clock);
  for (int interval = 0; interval < 19; ++interval) {
    time_now += 0.6;
    drift.interval_ended();
    EXPECT_EQ(drift.corrected(500000), 500000U);
  }
  time_now += 0.6;
  drift.interval_ended();
  EXPECT_DOUBLE_EQ(drift.scale(), 1.2);
  EXPECT_EQ(drift.corrected(500000), 416666U);
}

TEST(DriftCorrection, ReplacesTheFactorSoASteadyOverrunAlternates) {
  const std::vector<double> scales = play(500000, 1.25, 20, 4);
  EXPECT_NEAR(scales[0], 1.25, 1e-9);
  EXPECT_NEAR(scales[1], 1.0, 1e-5);
  EXPECT_NEAR(scales[2], 1.25, 1e-5);
  EXPECT_NEAR(scales[3], 1.0, 1e-5);
}

TEST(DriftCorrection, ASlotOfTwentySecondsOrMoreIsAPeriodOfItsOwn) {
  time_now = 0.0;
  DriftCorrection drift(20.0, test_clock);
  time_now = 11.0;
  drift.interval_ended();
  EXPECT_EQ(drift.scale(), 1.0);
  time_now = 22.0;
  drift.interval_ended();
  EXPECT_DOUBLE_EQ(drift.scale(), 1.1);
}

TEST(DriftCorrection, CountsIntervalsOfNoLengthToo) {
  time_now = 0.0;
  DriftCorrection drift(10.0, test_clock);
  drift.interval_ended();
  time_now = 12.0;
  drift.interval_ended();
  EXPECT_DOUBLE_EQ(drift.scale(), 1.2);
}

TEST(DriftCorrection, AClockSetBackMakesNoSleepNegative) {
  time_now = 100.0;
  DriftCorrection drift(20.0, test_clock);
  time_now = 0.0;
  drift.interval_ended();
  drift.interval_ended();
  EXPECT_EQ(drift.corrected(500000), 0U);
}

}  // namespace
