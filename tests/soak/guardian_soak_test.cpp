#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <random>
#include <string>

#include "program/control_group.h"
#include "program/guardians.h"
#include "program/tree_machine.h"
#include "program/vorn_program.h"
#include "soak/moments.h"

// Run and guardians are stopped, frozen and killed at random moments, in any order. The machine is
// as it was each time, or it is said that it is not and how it comes to be so.

namespace {

using program::As;
using program::Running;

class GuardianSoak : public testing::Test {
 protected:
  void SetUp() override {
    SKIP_UNLESS_MAY_RUN(As::kRoot);
    machine_.tree().keep_curves();
    before_ = machine_.tree().snapshot();
  }

  int any(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }

  /// Does one of the deeds to the run or to a guardian. Returns it in words.
  std::string do_something_to(const Running& running, const ControlGroup& group) {
    std::vector<pid_t> guardians = living_guardians(machine_.folder());
    std::shuffle(guardians.begin(), guardians.end(), random_);
    const bool to_run = guardians.empty() || any(0, 1) == 0;
    const pid_t victim = to_run ? running.pid() : guardians.front();
    const std::string whom = to_run ? "run " : "guardian ";
    switch (any(0, group.is_there() && to_run ? 3 : 1)) {
      case 0:
        kill(victim, SIGSTOP);
        return whom + "stopped";
      case 1:
        kill(victim, SIGKILL);
        return whom + "killed";
      case 2:
        group.tell("cgroup.freeze", "1");
        return whom + "frozen";
      default:
        group.tell("cgroup.kill", "1");
        return whom + "killed with its group";
    }
  }

  void let_everybody_go_on(const Running& running, const ControlGroup& group) const {
    for (const pid_t guardian : living_guardians(machine_.folder())) {
      kill(guardian, SIGCONT);
    }
    if (group.is_there()) {
      group.tell("cgroup.freeze", "0");
    }
    running.send(SIGCONT);
  }

  bool is_given_back() {
    for (int tries = 0; tries < 4000; ++tries) {
      if (machine_.tree().left_to_give_back().empty() && machine_.tree().snapshot() == before_ &&
          living_guardians(machine_.folder()).empty()) {
        return true;
      }
      if (living_guardians(machine_.folder()).empty() && tries > 100) {
        break;  // nobody is left to do it
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }

  TreeMachine machine_{"two_socket_intel"};
  std::map<std::string, std::string> before_;
  std::mt19937 random_{20261121};
};

TEST_F(GuardianSoak, LeavesTheMachineAsItWasOrSaysThatItIsNot) {
  const int runs = std::max(runs_of_each_shape() / 3, 1);
  int by_hand = 0;
  for (int n = 0; n < runs; ++n) {
    const ControlGroup group(ControlGroup::Kind::unified);
    Running running(machine_.vorn({"-c", "1", "-w", "bspin", "-f", "50", "-s", "1500", "-F", "3",
                                   "-p", "2", "-m", "-r", "20", "-k", "F0Ac"}));
    if (group.is_there()) {
      ASSERT_TRUE(group.tell("cgroup.procs", std::to_string(running.pid())));
    }
    std::string deeds = "run " + std::to_string(n) + ":";
    go_on(running, n % 3 == 0, random_, 700'000);
    for (int deed = any(1, 3); deed > 0; --deed) {
      deeds += " " + do_something_to(running, group) + ",";
      usleep(static_cast<useconds_t>(any(0, n % 2 == 0 ? 2'500'000 : 300'000)));
    }
    let_everybody_go_on(running, group);
    running.send(SIGINT);
    const program::Outcome outcome = running.wait();
    ASSERT_FALSE(outcome.timed_out) << deeds;
    if (!is_given_back()) {
      ++by_hand;
      const program::Outcome check = program::run(machine_.keys({"--check"}));
      EXPECT_NE(check.out.find("vorn-keys --restore"), std::string::npos)
          << deeds << "\n"
          << check.out << outcome.err;
      program::run(machine_.keys({"--restore"}));
    }
    ASSERT_EQ(machine_.tree().snapshot(), before_) << deeds << "\n" << outcome.err;
    ASSERT_EQ(machine_.tree().left_to_give_back(), "") << deeds << "\n" << outcome.err;
  }
  RecordProperty("given_back_by_hand", by_hand);
  std::printf("%d runs, %d of them given back by hand\n", runs, by_hand);
}

}  // namespace
