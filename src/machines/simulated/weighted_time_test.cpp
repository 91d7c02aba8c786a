#include "machines/simulated/weighted_time.h"

#include <gtest/gtest.h>

#include "Workload/activity.h"
#include "support/milliseconds.h"

namespace simulated {
namespace {

class WeightedTimeTest : public testing::Test {
 protected:
  /// Time passes, and threads of `activity` use `busy_ns` of processors.
  void pass(std::int64_t elapsed_ns, std::int64_t busy_ns, double activity) {
    now_ns_ += elapsed_ns;
    busy_ns_ += busy_ns;
    excess_ns_ += (activity - kOrdinaryActivity) * static_cast<double>(busy_ns);
  }

  WeightedTime::Sources sources() {
    return {.now_ns = [this] { return now_ns_; },
            .processor_time_ns = [this] { return busy_ns_; },
            .excess_ns =
                [this] {
                  ++askings_;
                  now_ns_ += asking_takes_ns_;
                  return excess_ns_;
                }};
  }

  std::int64_t now_ns_ = 70 * kMs;
  std::int64_t busy_ns_ = 3 * kMs;
  double excess_ns_ = 0;
  std::int64_t asking_takes_ns_ = 0;
  int askings_ = 0;
};

TEST_F(WeightedTimeTest, OrdinaryTimeIsWorthItsActivity) {
  WeightedTime time(sources());
  const std::int64_t before = time();
  pass(10 * kMs, 20 * kMs, kOrdinaryActivity);
  EXPECT_EQ(time() - before, 11 * kMs);
}

TEST_F(WeightedTimeTest, TheHottestTimeIsWorthAllOfItself) {
  WeightedTime time(sources());
  const std::int64_t before = time();
  pass(10 * kMs, 20 * kMs, 1);
  EXPECT_EQ(time() - before, 20 * kMs);
}

TEST_F(WeightedTimeTest, AddsUpLoadsOfDifferentActivity) {
  WeightedTime time(sources());
  const std::int64_t before = time();
  pass(10 * kMs, 10 * kMs, 1);
  pass(0, 10 * kMs, 0.7);
  EXPECT_EQ(time() - before, 17 * kMs);
}

TEST_F(WeightedTimeTest, AsksTheThreadsForAFiftiethOfTheTimeAtMost) {
  asking_takes_ns_ = kMs;  // a thousand threads, say
  WeightedTime time(sources());
  askings_ = 0;
  for (int ms = 0; ms < 5000; ++ms) {
    pass(kMs, 2 * kMs, 1);
    time();
  }
  EXPECT_GE(askings_, 95);
  EXPECT_LE(askings_, 102);
}

TEST_F(WeightedTimeTest, KeepsToTheLastWeightBetweenAskings) {
  asking_takes_ns_ = kMs;
  WeightedTime time(sources());
  pass(kMs, 2 * kMs, 1);
  time();
  pass(60 * kMs, 120 * kMs, 1);
  std::int64_t before = time();  // asks
  for (int ms = 0; ms < 40; ++ms) {
    pass(kMs, 2 * kMs, 1);
    const std::int64_t after = time();
    ASSERT_NEAR(static_cast<double>(after - before), 2.0 * kMs, 1000.0);
    before = after;
  }
}

TEST_F(WeightedTimeTest, NeverRunsBackwards) {
  asking_takes_ns_ = kMs;
  WeightedTime time(sources());
  pass(60 * kMs, 60 * kMs, 1);
  time();
  pass(10 * kMs, 10 * kMs, 0);  // taken for hot until the threads are asked
  const std::int64_t before = time();
  pass(60 * kMs, 0, 0);
  EXPECT_EQ(time(), before);
  pass(60 * kMs, 60 * kMs, 1);
  EXPECT_EQ(time() - before, 50 * kMs) << "what was counted too much is counted less later";
}

}  // namespace
}  // namespace simulated
