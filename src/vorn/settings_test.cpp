#include "vorn/settings.h"

#include "support/settings_fixture.h"

namespace {

using Settings = SettingsFixture;

TEST_F(Settings, AnUnprivilegedRunTouchesNeitherFansNorPState) {
  EXPECT_FALSE(setting_fans());
  EXPECT_FALSE(setting_pstate());
}

TEST_F(Settings, ARunStartedByRootDrivesFansAtTheirMaximumAndForcesPStateZero) {
  rpm = default_rpm(true);
  pstate = default_pstate(true);
  EXPECT_EQ(rpm, 0xFFFFFFFFU);
  EXPECT_EQ(pstate, 0);
  EXPECT_TRUE(setting_fans());
  EXPECT_TRUE(setting_pstate());
}

TEST_F(Settings, NoServiceThreadIsUsedByDefault) {
  EXPECT_FALSE(using_timing_thread());
  EXPECT_FALSE(using_fan_thread());
  EXPECT_FALSE(using_monitor_thread());
  EXPECT_FALSE(using_inverted_pwm());
}

TEST_F(Settings, AFrequencyAsksForItsThread) {
  frequency = 0.001;
  EXPECT_TRUE(using_timing_thread());
  fanfrequency = 0.001;
  EXPECT_TRUE(using_fan_thread());
}

TEST_F(Settings, ServiceThreadsRunAtPriority63) {
  EXPECT_EQ(monitor_thread_priority(), 63);
  EXPECT_EQ(timing_thread_priority(), 63);
  EXPECT_EQ(fan_thread_priority(), 63);
}

}  // namespace
