#include "vorn/privileged_setup.h"

#include <unistd.h>

#include "support/machine_fixture.h"
#include "vorn/pstate_control.h"
#include "vorn/settings.h"

namespace {

using Steps = std::vector<std::uint32_t>;

class PrivilegedSetup : public MachineFixture {
 protected:
  PrivilegedSetup() { fans = {"F0Tg", "F1Tg"}; }
  ~PrivilegedSetup() override {
    plugin->step_returns = kKxReturnSuccess;
    printed_by(restore_pstate);
  }
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "needs root";
    }
  }
};

TEST_F(PrivilegedSetup, SetsFansAndPStateAndGivesThemBackInReverseOrder) {
  rpm = 2000;
  pstate = 1;
  EXPECT_EQ(setup_privileged(), 0);
  EXPECT_EQ(controller->word("FS! "), 3U);
  EXPECT_EQ(plugin->steps(), Steps{101});
  EXPECT_EQ(printed_by(teardown_privileged), "Power balancing restored\nFans restored\n");
  EXPECT_EQ(controller->word("FS! "), 0U);
  EXPECT_EQ(plugin->steps(), (Steps{101, 0}));
}

TEST_F(PrivilegedSetup, LeavesAloneWhatIsNotAskedFor) {
  EXPECT_EQ(setup_privileged(), 0);
  EXPECT_EQ(printed_by(teardown_privileged), "");
  EXPECT_TRUE(controller->requests().empty());
  EXPECT_TRUE(plugin->steps().empty());
}

TEST_F(PrivilegedSetup, DoesNotTryThePStateIfTheFansFail) {
  rpm = 3000;
  pstate = 1;
  fans = {"F3Tg"};
  int result = 0;
  EXPECT_EQ(printed_by([&] { result = setup_privileged(); }),
            "Unrecognized SMC fan key \"F3Tg\"\nUnable to set fans to 3000RPM\n");
  EXPECT_EQ(result, -1);
  EXPECT_TRUE(plugin->steps().empty());
}

TEST_F(PrivilegedSetup, NamesThePStateThatFails) {
  pstate = 7;
  plugin->step_returns = kKxReturnBadArgument;
  int result = 0;
  EXPECT_EQ(printed_by([&] { result = setup_privileged(); }),
            "KxConnectMethodScalarIScalarO(): error kKxReturnBadArgument\n"
            "Unable to set P-state 7\n");
  EXPECT_EQ(result, -1);
}

// The signal may come before the main thread gets here: nothing may be set after it was given back.
TEST_F(PrivilegedSetup, SetsNothingOnceTheRunHasEnded) {
  rpm = 2000;
  params.terminate = true;
  printed_by(teardown_privileged);
  EXPECT_EQ(setup_privileged(), 0);
  EXPECT_EQ(controller->word("FS! "), 0U);
}

TEST_F(PrivilegedSetup, AFailedRestoreOfOneDoesNotKeepTheOtherBack) {
  rpm = 2000;
  pstate = 1;
  ASSERT_EQ(setup_privileged(), 0);
  plugin->step_returns = kKxReturnIOError;
  EXPECT_EQ(printed_by(teardown_privileged),
            "KxConnectMethodScalarIScalarO(): error kKxReturnIOError\nFans restored\n");
  EXPECT_EQ(controller->word("FS! "), 0U);
}

}  // namespace
