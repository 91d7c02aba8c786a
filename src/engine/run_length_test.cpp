#include "engine/run_length.h"

#include <sys/time.h>

#include "support/settings_fixture.h"
#include "vorn/settings.h"

namespace engine {
namespace {

using RunLength = SettingsFixture;

TEST_F(RunLength, WithoutOneThereIsNoTimer) {
  set_run_length(std::nullopt);
  EXPECT_FALSE(using_timer());
  EXPECT_EQ(run_length(std::nullopt), std::nullopt);
}

TEST_F(RunLength, OfVornIsInWholeSeconds) {
  trial_time = 3;
  EXPECT_EQ(run_length(std::nullopt), 3000000000);
}

TEST_F(RunLength, TakesFractions) {
  EXPECT_EQ(run_length(1500000000), 1500000000);
}

TEST_F(RunLength, LeavesTheTimerSetToNever) {
  constexpr std::int64_t kYear = 365LL * 86400 * 1000000;
  trial_time = 3;
  set_run_length(std::nullopt);
  EXPECT_TRUE(using_timer());
  EXPECT_EQ(trial_time, 0);
  EXPECT_GT(additional_time_us, 50 * kYear);
}

TEST_F(RunLength, TakesTheTimerFromNeverToItsTime) {
  start_run_time(3600500000000);
  itimerval left{};
  const itimerval none{};
  setitimer(ITIMER_REAL, &none, &left);
  EXPECT_GE(left.it_value.tv_sec, 3590);
  EXPECT_LE(left.it_value.tv_sec, 3600);
}

}  // namespace
}  // namespace engine
