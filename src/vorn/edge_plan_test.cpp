#include "vorn/edge_plan.h"

#include <gtest/gtest.h>

namespace {

constexpr std::int64_t kMicrosecond = 1000;
constexpr std::int64_t kMillisecond = 1000000;
constexpr std::int64_t kSecond = 1000000000;

TEST(EdgePlan, CountsEachIntervalFromThePlannedEndOfTheOneBefore) {
  EdgePlan plan(100);
  EXPECT_EQ(plan.next(10 * kMillisecond, 100), 100 + 10 * kMillisecond);
  const std::int64_t late = 100 + 10 * kMillisecond + 30 * kMicrosecond;
  EXPECT_EQ(plan.next(10 * kMillisecond, late), 100 + 20 * kMillisecond);
}

TEST(EdgePlan, GoesOnFromNowAfterAStop) {
  EdgePlan plan(0);
  EXPECT_EQ(plan.next(kSecond, 30 * kSecond), 31 * kSecond);
  EXPECT_EQ(plan.next(kSecond, 31 * kSecond), 32 * kSecond);
}

TEST(EdgePlan, DoesNotRaceThroughAStopOfManyIntervals) {
  EdgePlan plan(0);
  EXPECT_EQ(plan.next(kMillisecond, 50 * kMillisecond), 51 * kMillisecond);
}

TEST(EdgePlan, KeepsItsPhaseThroughAHoleOfSomeIntervals) {
  EdgePlan plan(0);
  EXPECT_EQ(plan.next(kMillisecond, 7 * kMillisecond), kMillisecond);
  EXPECT_EQ(plan.next(kMillisecond, 7 * kMillisecond), 2 * kMillisecond);
}

TEST(EdgePlan, TakesAHoleForAStopThoughTheNextIntervalIsLongEnoughForIt) {
  EdgePlan plan(0);
  EXPECT_EQ(plan.next(kSecond, 30 * kMillisecond), kSecond + 30 * kMillisecond);
}

TEST(EdgePlan, AShortPulseAfterAnOrdinaryWakeUpDoesNotMoveThePlan) {
  EdgePlan plan(0);
  EXPECT_EQ(plan.next(2 * kMicrosecond, 100 * kMicrosecond), 2 * kMicrosecond);
  EXPECT_EQ(plan.next(9998 * kMicrosecond, 110 * kMicrosecond), 10000 * kMicrosecond);
}

TEST(EdgePlan, AnEarlyLookDoesNotMoveThePlan) {
  EdgePlan plan(kSecond);
  EXPECT_EQ(plan.next(kMillisecond, 0), kSecond + kMillisecond);
}

}  // namespace
