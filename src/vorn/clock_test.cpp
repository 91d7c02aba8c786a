#include "vorn/clock.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

TEST(Now, IsTheWallClockInSeconds) {
  const std::chrono::duration<double> system = std::chrono::system_clock::now().time_since_epoch();
  EXPECT_NEAR(now(), system.count(), 5.0);
}

TEST(UntilNext, ReachesTheNextMultipleOfThePeriod) {
  EXPECT_EQ(until_next(12.25, 0.5), 250000U);
}

TEST(UntilNext, IsAWholePeriodOnAMultipleItself) {
  EXPECT_EQ(until_next(12.0, 0.5), 500000U);
}

TEST(UntilNext, Truncates) {
  EXPECT_EQ(until_next(0.0, 0.0000019), 1U);
}

TEST(UntilNext, Saturates) {
  EXPECT_EQ(until_next(0.0, 5000.0), 4294967295U);
}

}  // namespace
