#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "machines/simulated/machine.h"
#include "vorn/fan_thread.h"
#include "vorn/privileged_setup.h"
#include "vorn/settings.h"

// What a run leaves of the machine behind it, seen from inside.

namespace {

class SimulatedStages : public testing::Test {
 protected:
  SimulatedStages() {
    fans = {"F0Tg", "F1Tg"};
    rpm = 2000;
    pstate = 3;
    params.terminate = false;
  }
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "needs root";
    }
  }

  static simulated::Model machine() { return simulated::machine().inspect(); }
};

TEST_F(SimulatedStages, SetUpForcesFansAndPStateAndTeardownLeavesOnlyTheTargets) {
  ASSERT_EQ(setup_privileged(), 0);
  EXPECT_EQ(machine().fans().force_bits(), 3U);
  EXPECT_EQ(machine().forced_pstate(), 3U);
  teardown_privileged();
  EXPECT_EQ(machine().fans().force_bits(), 0U);
  EXPECT_EQ(machine().fans().target_rpm(0), 2000.0);
  EXPECT_EQ(machine().fans().target_rpm(1), 2000.0);
  EXPECT_FALSE(machine().forced_pstate().has_value());
}

TEST_F(SimulatedStages, AFanWaveEndsWithItsFansGivenBack) {
  fanfrequency = 100.0;
  ASSERT_EQ(setup_privileged(), 0);
  ASSERT_EQ(spawn_fan(), 0);
  for (int tries = 0; tries < 5000 && machine().fans().target_rpm(0) != 0.0; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(machine().fans().target_rpm(0), 0.0) << "the wave's first step is a stop";
  params.terminate = true;
  teardown_privileged();
  fan_thread.join();
  EXPECT_EQ(machine().fans().force_bits(), 0U);
}

}  // namespace
