#include "engine/run_length.h"

#include "support/settings_fixture.h"
#include "vorn/settings.h"

namespace engine {
namespace {

using RunLength = SettingsFixture;

TEST_F(RunLength, WithoutOneThereIsNoTimerEvenIfItBeginsLater) {
  set_run_length(std::nullopt, 5000000);
  EXPECT_FALSE(using_timer());
}

TEST_F(RunLength, OfVornIsInWholeSeconds) {
  trial_time = 3;
  set_run_length(std::nullopt, 0);
  EXPECT_EQ(trial_time, 3);
  EXPECT_EQ(additional_time_us, 0);
}

TEST_F(RunLength, TakesFractions) {
  set_run_length(1500000000, 0);
  EXPECT_EQ(trial_time, 0);
  EXPECT_EQ(additional_time_us, 1500000);
}

TEST_F(RunLength, IsCountedFromTheAgreedStart) {
  trial_time = 3;
  set_run_length(std::nullopt, 2000000000);
  EXPECT_EQ(trial_time, 3);
  EXPECT_EQ(additional_time_us, 2000000);
  set_run_length(500000000, 2000000000);
  EXPECT_EQ(trial_time, 0);
  EXPECT_EQ(additional_time_us, 2500000);
}

}  // namespace
}  // namespace engine
