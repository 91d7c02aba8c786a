#include "vorn/run.h"

#include <unistd.h>

#include <cstdlib>

#include "support/machine_fixture.h"
#include "vorn/settings.h"

namespace {

// Signals and priority belong to the process, so the run is in one of its own.
class RunDeathTest : public MachineFixture {
 protected:
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "needs root";
    }
  }
};

TEST_F(RunDeathTest, WhatCannotBeStartedBesideItLeavesTheMachineAsItWas) {
  fans = {"F0Tg", "F1Tg"};
  rpm = 2000;
  bool tried = false;
  EXPECT_EXIT(
      {
        const int result = run([&] {
          tried = true;
          return -1;
        });
        std::_Exit(result == -1 && tried && controller->word("FS! ") == 0 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
