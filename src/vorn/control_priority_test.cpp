#include "vorn/control_priority.h"

#include "support/fake_host.h"
#include "support/settings_fixture.h"
#include "vorn/settings.h"

namespace {

using ControlPriority = SettingsFixture;

TEST_F(ControlPriority, IsOneAboveEveryOtherThread) {
  take_control_priority();
  EXPECT_EQ(fake_host::state().last_priority, 64);
}

TEST_F(ControlPriority, UnderALimitOf63StillRisesAboveWorkloadsAt31) {
  fake_host::state().highest_priority = 63;
  frequency = 10.0;
  take_control_priority();
  EXPECT_EQ(fake_host::state().last_priority, 63);
}

// Among workloads of its own priority it would wait for ever; the kernel's reserve is better.
TEST_F(ControlPriority, UnderALimitOf63StaysOrdinaryBesideWorkloadsAt63) {
  fake_host::state().highest_priority = 63;
  take_control_priority();
  EXPECT_EQ(fake_host::state().priority_calls, 1);
}

}  // namespace
