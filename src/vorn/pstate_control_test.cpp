#include "vorn/pstate_control.h"

#include <unistd.h>

#include <cstdlib>

#include "support/machine_fixture.h"
#include "vorn/settings.h"

namespace {

using Steps = std::vector<std::uint32_t>;

class PStateControl : public MachineFixture {
 protected:
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "needs root";
    }
  }
  ~PStateControl() override {
    plugin->step_returns = kKxReturnSuccess;
    printed_by(restore_pstate);
  }
};

TEST_F(PStateControl, LeavesTheProcessorAloneAtMinusOne) {
  EXPECT_EQ(set_pstate(-1), 0);
  EXPECT_EQ(platform, nullptr);
  EXPECT_TRUE(plugin->steps().empty());
}

TEST_F(PStateControl, ForcesAStateAndGivesItBack) {
  EXPECT_EQ(set_pstate(2), 0);
  EXPECT_NE(platform, nullptr);
  int result = -1;
  EXPECT_EQ(printed_by([&] { result = restore_pstate(); }), "Power balancing restored\n");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(platform, nullptr);
  EXPECT_EQ(plugin->steps(), (Steps{102, 0}));
}

TEST_F(PStateControl, ASecondStateUsesTheSameConnection) {
  EXPECT_EQ(set_pstate(0), 0);
  PlatformPlugin* const first = platform;
  EXPECT_EQ(set_pstate(3), 0);
  EXPECT_EQ(platform, first);
  EXPECT_EQ(plugin->steps(), (Steps{100, 103}));
}

TEST_F(PStateControl, GivesNothingBackThatWasNotForced) {
  int result = -1;
  EXPECT_EQ(printed_by([&] { result = restore_pstate(); }), "");
  EXPECT_EQ(result, 0);
}

TEST_F(PStateControl, WithoutAPluginSaysSo) {
  kx::install_machine({});
  int result = 0;
  EXPECT_EQ(printed_by([&] { result = set_pstate(0); }),
            "No service matching \"KxPlatformPlugin\"\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(platform, nullptr);
}

TEST_F(PStateControl, ARefusedStateKeepsTheConnection) {
  plugin->step_returns = kKxReturnBadArgument;
  int result = 0;
  EXPECT_EQ(printed_by([&] { result = set_pstate(99); }),
            "KxConnectMethodScalarIScalarO(): error kKxReturnBadArgument\n");
  EXPECT_EQ(result, -1);
  EXPECT_NE(platform, nullptr);
}

TEST_F(PStateControl, ARefusedRestoreKeepsTheConnection) {
  ASSERT_EQ(set_pstate(1), 0);
  plugin->step_returns = kKxReturnIOError;
  int result = 0;
  EXPECT_EQ(printed_by([&] { result = restore_pstate(); }),
            "KxConnectMethodScalarIScalarO(): error kKxReturnIOError\n");
  EXPECT_EQ(result, -1);
  EXPECT_NE(platform, nullptr);
}

using PStateControlDeathTest = PStateControl;

TEST_F(PStateControlDeathTest, AnOrdinaryUserIsRefused) {
  EXPECT_EXIT(
      {
        const bool dropped = setresuid(65534, 65534, 65534) == 0;
        std::_Exit(dropped && set_pstate(2) == -1 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "^Platform Plugin operations require superuser privileges\n$");
}

}  // namespace
