#include "engine/readiness.h"

#include <gtest/gtest.h>

#include "support/milliseconds.h"

namespace engine {
namespace {

std::int64_t time_ns = 0;  // what the tests' clock shows

std::int64_t time_shown() {
  return time_ns;
}

class StartWhenReadyTest : public testing::Test {
 protected:
  StartWhenReadyTest() { time_ns = 1000 * kMs; }

  Readiness readiness_;
  int given_up_ = 0;
  StartWhenReady start_{readiness_, 10'000 * kMs, [this] { ++given_up_; }, time_shown};
};

TEST_F(StartWhenReadyTest, IsFartherAwayThanASleepIsExactAsLongAsALoadIsMissing) {
  readiness_.expect(2);
  readiness_.made();
  EXPECT_GT(start_.instant_ns(), time_ns + 20 * kMs);
  time_ns += 5000 * kMs;
  EXPECT_GT(start_.instant_ns(), time_ns + 20 * kMs);
}

TEST_F(StartWhenReadyTest, IsNearAndFixedOnceAllLoadsAreMade) {
  readiness_.expect(2);
  readiness_.made();
  readiness_.made();
  const std::int64_t begin_ns = start_.instant_ns();
  EXPECT_GT(begin_ns, time_ns);
  EXPECT_LT(begin_ns, time_ns + 20 * kMs);
  time_ns += 3 * kMs;
  EXPECT_EQ(start_.instant_ns(), begin_ns);
}

TEST_F(StartWhenReadyTest, GivesUpOnceIfALoadIsMissingForTooLong) {
  readiness_.expect(1);
  start_.instant_ns();
  time_ns += 10'000 * kMs;
  start_.instant_ns();
  EXPECT_EQ(given_up_, 0);
  for (int looks = 0; looks < 3; ++looks) {
    time_ns += kMs;
    EXPECT_GT(start_.instant_ns(), time_ns + 20 * kMs);
    EXPECT_EQ(given_up_, 1);
  }
  readiness_.made();
  EXPECT_GT(start_.instant_ns(), time_ns + 20 * kMs) << "the run is ending";
}

TEST_F(StartWhenReadyTest, WaitsLongerForThreadsThatShareAProcessor) {
  EXPECT_EQ(longest_making_ns(1, 8), 10'000 * kMs);
  EXPECT_EQ(longest_making_ns(8, 8), 10'000 * kMs);
  EXPECT_EQ(longest_making_ns(9, 8), 20'000 * kMs);
  EXPECT_EQ(longest_making_ns(64, 2), 320'000 * kMs);
}

TEST(Readiness, TellsOnceWhenTheFirstThreadBeginsAndWhenTheLastHasMadeItsLoad) {
  Readiness readiness;
  int begun = 0;
  int all_made = 0;
  readiness.tell([&begun] { ++begun; }, [&all_made] { ++all_made; });
  readiness.expect(2);
  readiness.begins();
  readiness.begins();
  EXPECT_EQ(begun, 1);
  readiness.made();
  EXPECT_EQ(all_made, 0);
  readiness.made();
  EXPECT_EQ(all_made, 1);
}

TEST(Readiness, IsNotGivenBeforeItIsKnownHowManyThreadsThereAre) {
  EXPECT_GT(Readiness().missing(), 0U);
}

}  // namespace
}  // namespace engine
