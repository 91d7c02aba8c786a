#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "program/fixed_priorities.h"
#include "program/vorn_program.h"
#include "support/hold_ups.h"
#include "vorn/version.h"

// Whole runs of an ordinary user who has the right to a fixed priority.

namespace {

using program::As;
using program::Command;
using program::Outcome;
using program::Running;

constexpr const char* kNotAsRoot =
    "vorn: note: -s not as root: the fans stay as they are; run it with sudo, or leave them out\n"
    "vorn: note: -p not as root: the P-state stays as it is; run it with sudo, or leave it out\n";

class Run : public testing::Test {
 protected:
  void SetUp() override { SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority); }

  static void expect_silent_success(const Outcome& outcome) {
    EXPECT_EQ(outcome.status, 0) << "signal " << outcome.signal;
    EXPECT_FALSE(outcome.timed_out);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
  }
};

TEST_F(Run, LoadsRealProcessorsWithASinusoidUntilItsTimeIsUp) {
  const Outcome outcome =
      program::run(vorn({"-c", "2", "-w", "bspin", "-f", "10", "-z", "1", "-t", "2"}));
  expect_silent_success(outcome);
  EXPECT_GE(outcome.seconds, 2.0);
}

TEST_F(Run, EndsOnInterruptWithStatusZero) {
  Running running(vorn({}));
  ASSERT_TRUE(running.wait_until_catching());
  running.send(SIGINT);
  expect_silent_success(running.wait());
}

TEST_F(Run, EndsOnTwoInterruptsInQuickSuccessionWithStatusZero) {
  Running running(vorn({"-c", "4", "-w", "bspin", "-f", "1000"}));
  ASSERT_TRUE(running.wait_until_catching());
  running.send(SIGINT);
  running.send(SIGINT);
  running.send(SIGINT);
  expect_silent_success(running.wait());
}

TEST_F(Run, EndsOnEveryOtherSignalThatAsksForIt) {
  for (const int signo : {SIGTERM, SIGHUP, SIGQUIT}) {
    Running running(vorn({"-c", "2"}));
    ASSERT_TRUE(running.wait_until_catching());
    running.send(signo);
    expect_silent_success(running.wait());
  }
}

/// Sends `signo` to a process that is being stopped until it ends: while the shutdown path runs, a
/// signal is ignored. Returns how it ended.
Outcome end_with(Running& running, int signo) {
  std::atomic<bool> ended{false};
  std::thread sender([&] {
    while (!ended) {
      running.send(signo);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  });
  const Outcome outcome = running.wait(30);
  ended = true;
  sender.join();
  return outcome;
}

TEST_F(Run, ThatWaitsForHalfAPeriodOfTheFansEndsOnAFurtherSignal) {
  for (const int signo : {SIGINT, SIGTERM, SIGHUP}) {
    Running running(vorn({"-c", "1", "-F", "0.001", "-s", "1000"}));
    ASSERT_TRUE(running.wait_until_catching());
    running.send(SIGINT);
    EXPECT_EQ(end_with(running, signo).status, 0);
  }
}

TEST_F(Run, ThatWaitsForAStuckReaderEndsOnAFurtherSignal) {
  const std::string fifo = testing::TempDir() + "vorn_stuck_" + std::to_string(getpid());
  ASSERT_EQ(mkfifo(fifo.c_str(), 0666), 0);
  chmod(fifo.c_str(), 0666);
  for (const int signo : {SIGINT, SIGTERM, SIGHUP}) {
    Running running(vorn({"-c", "1", "-m", "-o", fifo}));  // nobody opens it for reading
    ASSERT_TRUE(running.wait_until_catching());
    running.send(SIGINT);
    EXPECT_EQ(end_with(running, signo).status, 0);
  }
  std::filesystem::remove(fifo);
}

TEST_F(Run, EndsOnInterruptAlthoughItsShellIgnoresIt) {
  Command command = vorn({"-c", "2"});
  command.ignored_signals = {SIGINT};
  Running running(command);
  ASSERT_TRUE(running.wait_until_catching());
  running.send(SIGINT);
  expect_silent_success(running.wait());
}

TEST_F(Run, OutlivesItsTerminalIfHangupIsIgnored) {
  Command command = vorn({"-t", "1"});
  command.ignored_signals = {SIGHUP};
  Running running(command);
  ASSERT_TRUE(running.wait_until_catching());
  running.send(SIGHUP);
  const Outcome outcome = running.wait();
  expect_silent_success(outcome);
  EXPECT_GE(outcome.seconds, 1.0);
}

TEST_F(Run, WithoutATimeLeavesTheAlarmAlone) {
  Running running(vorn({"-c", "2"}));
  ASSERT_TRUE(running.wait_until_catching());
  running.send(SIGALRM);
  EXPECT_EQ(running.wait().signal, SIGALRM);
}

TEST_F(Run, PrintsItsSummaryFirst) {
  program::Command command = vorn({"-n", "-c", "2", "-b", "3", "-w", "bspin", "-w", "spin", "-f",
                                   "1000", "-e", "0.5", "-i", "-t", "1"});
  const Outcome outcome = program::run(command);
  const auto processors = std::thread::hardware_concurrency();
  EXPECT_EQ(
      outcome.err,
      longversion + ", running on a " + std::to_string(processors) +
          "-core system\n"
          "\ttiming thread running inverted 0.5Hz triangle at 1kHz (priority 63)\n"
          "\tworkload thread on core 3 running \"bspin\" (priority 31)\n"
          "\tworkload thread on core 3 running \"spin\" (priority 31)\n"
          "vorn" +
          kIgnoredNote +
          "vorn: note: -b 3 labels the threads in the summary and does not bind them; to bind "
          "them, start the program with \"taskset -c 3\"\n");
  EXPECT_EQ(outcome.status, 0);
}

// The main thread and the signals' listener stand one above all that they start and stop.
TEST_F(Run, ThreadsHaveThePrioritiesThatTheSummaryNames) {
  if (program::kSanitized) {
    GTEST_SKIP() << "the sanitizer's own thread has a priority too";
  }
  Running running(vorn({"-n", "-c", "3", "-w", "bspin", "-f", "10"}));
  ASSERT_TRUE(running.wait_until_catching());
  std::vector<int> priorities;
  for (int tries = 0; tries < 1000 && priorities != std::vector<int>{31, 31, 31, 63, 64, 64};
       ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    priorities = fixed_priorities(running.pid());
  }
  EXPECT_EQ(priorities, (std::vector<int>{31, 31, 31, 63, 64, 64}));
}

TEST_F(Run, ASingleWorkloadTakesThePriorityOfTheMainThread) {
  if (program::kSanitized) {
    GTEST_SKIP() << "the sanitizer's own thread has a priority too";
  }
  Running running(vorn({"-c", "1"}));
  ASSERT_TRUE(running.wait_until_catching());
  std::vector<int> priorities;
  for (int tries = 0; tries < 1000 && priorities != std::vector<int>{63, 64}; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    priorities = fixed_priorities(running.pid());
  }
  EXPECT_EQ(priorities, (std::vector<int>{63, 64}));
}

TEST_F(Run, StartsRunsAndStopsAThousandThreads) {
  // The thread sanitizer keeps 256 histories. More threads take them from one another under a lock
  // that spins, and at a fixed priority those that spin keep its holder from running.
  const std::string threads = program::kThreadSanitized ? "200" : "1024";
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"-c", threads}, {"-c", threads, "-w", "bspin", "-f", "100"}}) {
    Running running(vorn(arguments));
    ASSERT_TRUE(running.wait_until_catching());
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    running.send(SIGINT);
    expect_silent_success(running.wait());
  }
}

TEST_F(Run, WithAPriorityLimitOfJustItsWorkloadsStillEnds) {
  if (!program::may_raise_limits()) {
    GTEST_SKIP() << "needs the right to raise limits";
  }
  Command command = vorn({"-c", "2", "-w", "bspin", "-f", "100", "-t", "1"});
  command.fixed_priority_limit = 63;
  expect_silent_success(program::run(command));
}

TEST_F(Run, WithoutServiceForItsKeysGoesOnWithoutMonitoring) {
  const Outcome outcome = program::run(vorn({"-m", "-c", "2", "-t", "1"}));
  EXPECT_EQ(outcome.err,
            "KxIteratorNext() returned NULL\n"
            "vorn: note: this machine shows no controller, that is no sensor and no fan; vorn-keys "
            "--check says what there is; leave -m out, or use vorn-sim, which has a simulated "
            "one\n");
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(Run, IsEndedWithinTheHeadStartOfTheMonitorThread) {
  Running running(vorn({"-m", "-c", "2"}));
  const HoldUps hold_ups;
  ASSERT_TRUE(running.wait_until_catching());
  const auto start = HoldUps::Clock::now();
  running.send(SIGINT);
  EXPECT_EQ(running.wait().status, 0);
  const double seconds = std::chrono::duration<double>(HoldUps::Clock::now() - start).count();
  EXPECT_LT(seconds, 0.25 + hold_ups.longest_since(start)) << "the head start is half a second";
}

TEST_F(Run, LoadsNothingInTheHeadStartOfTheMonitorThread) {
  Running running(vorn({"-m", "-c", "2"}));
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::milliseconds(250));
  const auto tasks =
      std::filesystem::directory_iterator("/proc/" + std::to_string(running.pid()) + "/task");
  EXPECT_LE(std::distance(begin(tasks), end(tasks)), 4) << "no workload may have started";
}

TEST_F(Run, OfAnOrdinaryUserIgnoresFanSpeedAndPStateAndSaysSo) {
  const Outcome outcome = program::run(vorn({"-s", "3000", "-p", "2", "-c", "2", "-t", "1"}));
  EXPECT_EQ(outcome.err, kNotAsRoot);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.status, 0);
}

}  // namespace
