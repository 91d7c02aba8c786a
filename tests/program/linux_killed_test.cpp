#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <random>

#include "program/guardians.h"
#include "program/tree_machine.h"
#include "program/vorn_program.h"

// A run that is killed has given nothing back. Its guardians do.

namespace {

using program::As;
using program::Outcome;
using program::Running;

class LinuxKilled : public testing::Test {
 protected:
  void SetUp() override {
    SKIP_UNLESS_MAY_RUN(As::kRoot);
    machine_.tree().keep_curves();
    before_ = machine_.tree().snapshot();
  }

  program::Command everything_at_once() const {
    return machine_.vorn({"-c", "2", "-w", "bspin", "-f", "50", "-s", "1500", "-F", "3", "-p", "2",
                          "-m", "-r", "20", "-k", "F0Ac"});
  }

  TreeMachine machine_{"two_socket_intel"};
  std::map<std::string, std::string> before_;
};

TEST_F(LinuxKilled, IsGivenBackWithinASecondAndSaysSo) {
  Running running(everything_at_once());
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::seconds(1));
  ASSERT_NE(machine_.tree().left_to_give_back(), "");
  running.send(SIGKILL);
  EXPECT_TRUE(machine_.is_given_back_in_a_second());
  EXPECT_EQ(machine_.tree().snapshot(), before_);
  std::string said;
  for (int tries = 0; tries < 5000 && std::count(said.begin(), said.end(), '\n') < 2; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    said = running.err();
  }
  EXPECT_NE(said.find("vorn: the run ended without giving back its fans: given back now\n"),
            std::string::npos)
      << said;
  EXPECT_NE(said.find("vorn: the run ended without giving back its P-states: given back now\n"),
            std::string::npos)
      << said;
}

TEST_F(LinuxKilled, IsGivenBackAtWhateverMoment) {
  std::mt19937 random(20261121);
  for (int run = 0; run < 14; ++run) {
    Running running(everything_at_once());
    ASSERT_TRUE(running.wait_until_catching());
    usleep(std::uniform_int_distribution<useconds_t>(0, run % 2 == 0 ? 100'000 : 900'000)(random));
    running.send(SIGKILL);
    ASSERT_EQ(running.wait().signal, SIGKILL);
    ASSERT_TRUE(machine_.is_given_back_in_a_second())
        << "run " << run << "\n"
        << machine_.tree().left_to_give_back() << running.err();
    ASSERT_EQ(machine_.tree().snapshot(), before_) << "run " << run << "\n" << running.err();
  }
}

TEST_F(LinuxKilled, AnAbortIsGivenBackToo) {
  Running running(everything_at_once());
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
  running.send(SIGABRT);
  EXPECT_EQ(running.wait().signal, SIGABRT);
  EXPECT_TRUE(machine_.is_given_back_in_a_second());
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

// Its user may not put anything back by himself: the guardian kept the right to.
TEST_F(LinuxKilled, IsGivenBackForTheUserOfASetUserIdProgram) {
  if (program::kSanitized) {
    GTEST_SKIP() << "the sanitizers' runtimes refuse to run set-user-id";
  }
  program::Command command = everything_at_once();
  const std::string copy = machine_.folder() + "/vorn";
  std::filesystem::copy_file(command.path, copy);
  ASSERT_EQ(chmod(copy.c_str(), 04755), 0);
  command.path = copy;
  command.as = As::kOrdinaryUser;
  Running running(command);
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::seconds(1));
  EXPECT_NE(machine_.tree().snapshot(), before_);
  running.send(SIGKILL);
  EXPECT_TRUE(machine_.is_given_back_in_a_second());
  EXPECT_EQ(machine_.tree().snapshot(), before_) << running.err();
}

TEST_F(LinuxKilled, WhatBothWereKilledWithIsGivenBackByHand) {
  Running running(everything_at_once());
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::seconds(1));
  const std::vector<pid_t> guardians = living_guardians(machine_.folder());
  EXPECT_EQ(guardians.size(), 2U);
  for (const pid_t guardian : guardians) {
    kill(guardian, SIGKILL);
  }
  running.send(SIGKILL);
  running.wait();
  EXPECT_NE(machine_.tree().snapshot(), before_);
  const Outcome check = program::run(machine_.keys({"--check"}));
  EXPECT_NE(check.out.find("vorn-keys --restore"), std::string::npos) << check.out;
  const Outcome restored = program::run(machine_.keys({"--restore"}));
  EXPECT_EQ(restored.out, "P-states: given back\nfans: given back\n");
  EXPECT_EQ(restored.status, 0);
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

TEST_F(LinuxKilled, WhatBothWereKilledWithIsGivenBackByTheNextRun) {
  Running running(everything_at_once());
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::seconds(1));
  for (const pid_t guardian : living_guardians(machine_.folder())) {
    kill(guardian, SIGKILL);
  }
  running.send(SIGKILL);
  running.wait();
  const Outcome next = program::run(machine_.vorn({"-c", "1", "-s", "1200", "-p", "4", "-t", "1"}));
  EXPECT_EQ(next.err,
            "vorn: an earlier run had left the fans changed: given back first\n"
            "vorn: an earlier run had left the P-states changed: given back first\n"
            "Power balancing restored\nFans restored\n");
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

TEST_F(LinuxKilled, GuardiansEndWithTheirRun) {
  const Outcome outcome =
      program::run(machine_.vorn({"-c", "1", "-s", "1500", "-p", "2", "-t", "1"}));
  EXPECT_EQ(outcome.status, 0);
  for (int tries = 0; tries < 500 && !living_guardians(machine_.folder()).empty(); ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  EXPECT_TRUE(living_guardians(machine_.folder()).empty());
}

}  // namespace
