#include "vorn/privileged_setup.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "support/machine_fixture.h"
#include "vorn/privilege.h"
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
  PrivilegedSetting failed = PrivilegedSetting::pstate;
  EXPECT_EQ(printed_by([&] { result = setup_privileged(&failed); }),
            "Unrecognized SMC fan key \"F3Tg\"\nUnable to set fans to 3000RPM\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(failed, PrivilegedSetting::fans);
  EXPECT_TRUE(plugin->steps().empty());
}

TEST_F(PrivilegedSetup, NamesThePStateThatFails) {
  pstate = 7;
  plugin->step_returns = kKxReturnBadArgument;
  int result = 0;
  PrivilegedSetting failed = PrivilegedSetting::fans;
  EXPECT_EQ(printed_by([&] { result = setup_privileged(&failed); }),
            "KxConnectMethodScalarIScalarO(): error kKxReturnBadArgument\n"
            "Unable to set P-state 7\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(failed, PrivilegedSetting::pstate);
}

// The signal may come before the main thread gets here: nothing may be set after it was given back.
TEST_F(PrivilegedSetup, SetsNothingOnceTheRunHasEnded) {
  rpm = 2000;
  params.terminate = true;
  printed_by(teardown_privileged);
  EXPECT_EQ(setup_privileged(), 0);
  EXPECT_EQ(controller->word("FS! "), 0U);
}

/// Standard error as a pipe that is full, whose reader has stopped reading.
class StuckReader {
 public:
  StuckReader() : former_(dup(STDERR_FILENO)) {
    EXPECT_EQ(pipe2(ends_, O_NONBLOCK), 0);
    while (write(ends_[1], "x", 1) == 1) {
    }
    fcntl(ends_[1], F_SETFL, 0);
    dup2(ends_[1], STDERR_FILENO);
  }
  StuckReader(const StuckReader&) = delete;
  StuckReader& operator=(const StuckReader&) = delete;
  ~StuckReader() {
    close(former_);
    close(ends_[0]);
    close(ends_[1]);
  }

  /// Reads on until `text` is written. Returns what was written.
  std::string read_on_to(const std::string& text) {
    std::string all;
    for (int tries = 0; tries < 10000 && !all.ends_with(text); ++tries) {
      char some[4096];
      for (ssize_t size = 0; (size = read(ends_[0], some, sizeof some)) > 0;) {
        all.append(some, static_cast<std::size_t>(size));
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return all.substr(all.find_last_of('x') + 1);
  }

  /// Standard error is what it was. Requires: nobody writes.
  void leave() { dup2(former_, STDERR_FILENO); }

 private:
  int former_;
  int ends_[2]{};
};

TEST_F(PrivilegedSetup, GivesBothBackAlthoughNobodyReadsTheMessages) {
  rpm = 2000;
  pstate = 1;
  ASSERT_EQ(setup_privileged(), 0);
  StuckReader reader;
  std::thread teardown(teardown_privileged);
  for (int tries = 0; tries < 5000 && controller->word("FS! ") != 0; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const unsigned forced = controller->word("FS! ");
  const std::string written = reader.read_on_to("Fans restored\n");
  teardown.join();
  reader.leave();
  EXPECT_EQ(forced, 0U);
  EXPECT_EQ(written, "Power balancing restored\nFans restored\n");
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

/// Whether the run's thread has the caller's user id behind `step`, in a process that is
/// set-user-id root. To be called in a process of its own.
bool is_lowered_behind(void (*step)()) {
  constexpr uid_t kCaller = 65534;
  if (setresuid(kCaller, 0, 0) != 0) {
    return false;
  }
  uid = UID();
  uid.relinquish();
  step();
  return geteuid() == kCaller;
}

using PrivilegedSetupDeathTest = PrivilegedSetup;

TEST_F(PrivilegedSetupDeathTest, LowersTheUserIdBehindTheSetUp) {
  rpm = 2000;
  pstate = 1;
  EXPECT_EXIT(std::_Exit(is_lowered_behind([] { setup_privileged(); }) ? 0 : 1),
              testing::ExitedWithCode(0), "");
}

TEST_F(PrivilegedSetupDeathTest, LowersTheUserIdBehindTheGivingBack) {
  rpm = 2000;
  pstate = 1;
  EXPECT_EXIT(std::_Exit(is_lowered_behind([] {
                setup_privileged();
                teardown_privileged();
              })
                             ? 0
                             : 1),
              testing::ExitedWithCode(0), "");
}

}  // namespace
