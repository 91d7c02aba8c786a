#include "engine/readiness.h"

#include <gtest/gtest.h>

namespace engine {
namespace {

constexpr std::int64_t kMs = 1000000;

std::int64_t time_ns = 0;  // what the tests' clock shows

std::int64_t shown() {
  return time_ns;
}

class StartWhenReadyTest : public testing::Test {
 protected:
  StartWhenReadyTest() { time_ns = 1000 * kMs; }

  Readiness readiness_;
  StartWhenReady start_{readiness_, shown};
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

TEST(Readiness, IsNotGivenBeforeItIsKnownHowManyThreadsThereAre) {
  EXPECT_GT(Readiness().missing(), 0U);
}

}  // namespace
}  // namespace engine
