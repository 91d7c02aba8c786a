#include "machines/linux/guardian/guardian_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <limits>
#include <string>

#include "machines/linux/guardian/message.h"
#include "machines/linux/watch/fan_watch.h"
#include "support/machine/machine_file.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

constexpr int kSensors = 6;

/// A guardian without a run: this test speaks to it, and its rounds follow one another at once.
class GuardianProcess : public testing::Test {
 protected:
  void SetUp() override {
    std::string machine;
    for (int n = 0; n < kSensors; ++n) {
      machine += "0444 temp" + std::to_string(n) + " = 50000\n";
    }
    build_machine(machine + "0444 fan = 900\n", place_.folder());
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends_.data()), 0);
    state_ = open((place_.folder() + "/state-file").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(state_, 0);
    pid_ = fork();
    if (pid_ == 0) {
      guard({.surroundings = surroundings_.surroundings,
             .part = "fans",
             .hierarchies = {},
             .of_root = true,
             .socket = ends_[0],
             .state = state_,
             .round_ms = 0,
             .silent_rounds = std::numeric_limits<int>::max()});
    }
    close(ends_[0]);
    ASSERT_EQ(hear(), Word::ready);
  }
  void TearDown() override {
    close(ends_[1]);
    waitpid(pid_, nullptr, 0);
    close(state_);
  }

  Word hear() {
    Message message;
    wait_for_message(ends_[1], 10'000);
    return receive_message(ends_[1], message) == Heard::message ? message.word : Word{};
  }

  /// Lets it live through at least so many rounds. False: it has ended.
  bool live_through(int rounds) {
    for (int round = 0; round < rounds; ++round) {
      if (hear() != Word::alive) {
        return false;
      }
    }
    return true;
  }

  /// What the kernel says that it occupies, kB.
  long memory(const std::string& name) const {
    std::ifstream in("/proc/" + std::to_string(pid_) + "/status");
    for (std::string line; std::getline(in, line);) {
      if (line.starts_with(name + ":")) {
        return std::stol(line.substr(name.size() + 1));
      }
    }
    return -1;
  }

  MemoryTree none_;
  TestSurroundings place_{none_};
  sysfs::Folder tree_{place_.folder()};
  TestSurroundings surroundings_{tree_};
  std::array<int, 2> ends_{};
  int state_ = -1;
  pid_t pid_ = -1;
};

// At four rounds a second these are 50 minutes: a round that kept 32 bytes would take 375 kB.
TEST_F(GuardianProcess, TakesNoMoreMemoryAfterManyThousandRounds) {
  const auto tell_all = [this] {
    for (int n = 0; n < kSensors; ++n) {
      ASSERT_TRUE(send_message(ends_[1], Word::temperature, 100'000, "temp" + std::to_string(n)));
      ASSERT_TRUE(live_through(1));
    }
    ASSERT_TRUE(send_message(ends_[1], Word::fan, kMayStand, "fan"));
  };
  tell_all();
  ASSERT_TRUE(live_through(500));
  const long resident = memory("VmRSS");
  const long data = memory("VmData");
  ASSERT_GT(resident, 0);
  for (int times = 0; times < 6; ++times) {
    tell_all();
    ASSERT_TRUE(live_through(2000));
    ASSERT_TRUE(send_message(ends_[1], Word::forget_fan, 0, "fan"));
  }
  EXPECT_EQ(memory("VmData"), data);
  EXPECT_LE(memory("VmRSS"), resident + 64) << "kB: a few pages that it had not touched before";
}

}  // namespace
}  // namespace linux_machine
