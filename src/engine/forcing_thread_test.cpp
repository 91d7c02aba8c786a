#include "engine/forcing_thread.h"

#include <unistd.h>

#include <chrono>
#include <thread>

#include "support/fake_host.h"
#include "support/machine_fixture.h"
#include "vorn/privileged_setup.h"
#include "vorn/pstate_control.h"
#include "vorn/settings.h"

namespace engine {
namespace {

using Words = std::vector<unsigned>;

class ForcingThread : public MachineFixture {
 protected:
  ForcingThread() {
    fans = {"F0Tg", "F1Tg"};
    rpm = 2000;
    pstate = 1;
  }
  ~ForcingThread() override {
    end_forcing();
    printed_by(restore_pstate);
  }
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "needs root";
    }
    ASSERT_EQ(setup_privileged(), 0);
    ASSERT_EQ(spawn_forcing(nullptr), 0);
  }

  static Forcing speed(std::uint32_t value, const char* fan = "") {
    return {.what = Forcing::What::fans, .fan = fan, .value = value};
  }

  /// Waits until so many values were written to F1Tg; what they are.
  Words speeds(std::size_t count) const {
    for (int tries = 0; tries < 10000 && written_to("F1Tg").size() < count; ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return written_to("F1Tg");
  }
};

TEST_F(ForcingThread, SetsAllFansOfTheRun) {
  say_forcing(speed(1500));
  EXPECT_EQ(speeds(2), (Words{2000 * 4, 1500 * 4}));
  EXPECT_EQ(controller->word("F0Tg"), 1500U * 4);
  EXPECT_EQ(controller->word("FS! "), 3U);
}

TEST_F(ForcingThread, SetsOneFanAndLeavesTheOthers) {
  say_forcing(speed(0, "F1Tg"));
  EXPECT_EQ(speeds(2), (Words{2000 * 4, 0}));
  EXPECT_EQ(written_to("F0Tg"), Words{2000 * 4});
}

TEST_F(ForcingThread, SetsAFanToItsOwnMaximum) {
  say_forcing(speed(kMaximumSpeed, "F1Tg"));
  EXPECT_EQ(speeds(2).back(), 6199U * 4);
}

TEST_F(ForcingThread, ForcesAnotherPState) {
  say_forcing({.what = Forcing::What::pstate, .fan = {}, .value = 4});
  say_forcing(speed(1500));
  speeds(2);
  EXPECT_EQ(plugin->steps(), (std::vector<std::uint32_t>{101, 104}));
}

// What the run gives back must not be forced again behind that.
TEST_F(ForcingThread, ForcesNothingOnceTheRunHasEnded) {
  params.terminate = true;
  printed_by(teardown_privileged);
  say_forcing(speed(1500));
  end_forcing();
  EXPECT_EQ(written_to("F1Tg"), Words{2000 * 4});
  EXPECT_EQ(controller->word("FS! "), 0U);
}

TEST_F(ForcingThread, SaysWhatCouldNotBeForcedAndGoesOn) {
  const std::string said = printed_by([&] {
    say_forcing(speed(20000));               // more than the type of a target holds
    while (written_to("FS! ").size() < 3) {  // two of the set-up
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    say_forcing(speed(1500, "F1Tg"));
    speeds(2);
  });
  EXPECT_NE(said.find("the fans could not be set to 20000 RPM"), std::string::npos) << said;
  EXPECT_EQ(speeds(2), (Words{2000 * 4, 1500 * 4}));
}

TEST_F(ForcingThread, IsNotStartedWithoutARightToItsPriority) {
  end_forcing();
  fake_host::state().priority_result = EPERM;
  EXPECT_EQ(spawn_forcing(nullptr), -1);
}

}  // namespace
}  // namespace engine
