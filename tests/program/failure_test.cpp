#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "program/vorn_program.h"

// Every way in which a run fails to start, with all that it prints.

namespace {

using program::As;
using program::Command;
using program::Outcome;

constexpr const char* kNoController =
    "vorn: note: this machine shows no controller, that is no sensor and no fan; vorn-keys --check "
    "says what there is; leave the fans alone with -s 0, run it not as root, or use vorn-sim\n";

void expect_failure(const Outcome& outcome, const std::string& err) {
  EXPECT_EQ(outcome.err, err);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.status, 255) << "signal " << outcome.signal;
}

TEST(Failure, ATimingThreadWithoutTheRightToItsPriority) {
  expect_failure(
      program::run(vorn({"-f", "10", "-t", "5"}, As::kOrdinaryUser)),
      std::string("vorn") + kIgnoredNote + "Unable to spawn timing thread\n" + kPriorityNote);
}

TEST(Failure, AMonitorThreadWithoutTheRightToItsPriority) {
  expect_failure(program::run(vorn({"-m", "-t", "5"}, As::kOrdinaryUser)),
                 std::string("Problem detected while spawning monitor thread\n") + kPriorityNote);
}

TEST(Failure, AFanThreadWithoutTheRightToItsPriority) {
  expect_failure(program::run(vorn({"-F", "1", "-s", "1000", "-t", "5"}, As::kOrdinaryUser)),
                 std::string("vorn: note: -s not as root: the fans stay as they are; run it with "
                             "sudo, or leave them out\n"
                             "Problem detected while spawning fan thread\n") +
                     kPriorityNote);
}

TEST(Failure, AWorkloadWithoutTheRightToItsPriorityEndsAsAnUncaughtException) {
  for (const char* count : {"1", "4"}) {
    const Outcome outcome = program::run(vorn({"-c", count, "-t", "5"}, As::kOrdinaryUser));
    EXPECT_EQ(outcome.signal, SIGABRT);
    EXPECT_EQ(outcome.err,
              std::string(kPriorityNote) +
                  "terminate called after throwing an instance of 'WorkloadThreadException'\n");
  }
}

TEST(Failure, AWorkloadThreadThatCannotBeCreated) {
  if (program::kSanitized) {
    GTEST_SKIP() << "the sanitizers' own threads count towards the limit";
  }
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  Command command = vorn({"-c", "8", "-t", "5"});
  command.process_limit = 4;
  expect_failure(program::run(command), "Unable to spawn workload(s)\n");
}

TEST(Failure, AFanThreadWithoutASpeedFailsItsAssertion) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = program::run(vorn({"-F", "1", "-t", "5"}));
  EXPECT_EQ(outcome.err,
            "Assertion failed: (setting_fans()), function fan_thread_function, "
            "file src/vorn.\n");
  EXPECT_EQ(outcome.signal, SIGABRT);
}

/// A run in which `call` is refused.
Outcome run_refusing(program::RefusedCall call) {
  Command command = vorn({"-c", "2", "-t", "1"});
  command.refused = {call};
  return program::run(command);
}

// The first file that the program opens would else become its standard output or error.
TEST(Failure, NoDiagnosticLandsInTheSampleFileIfStandardErrorIsClosed) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  const std::string samples = testing::TempDir() + "vorn_closed_" + std::to_string(getpid());
  for (const std::vector<int>& closed : {std::vector{2}, std::vector{1, 2}, std::vector{0, 1, 2}}) {
    Command command = vorn(
        {"-c", "1", "-s", "0", "-p", "0", "-m", "-k", "XXXX", "-o", samples, "-t", "1"}, As::kRoot);
    command.path = VORN_SIM_PROGRAM;
    command.closed = closed;
    EXPECT_EQ(program::run(command).status, 0);
    std::ifstream in(samples);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "");
  }
  std::filesystem::remove(samples);
}

TEST(Failure, AnInterruptHandlerThatCannotBeInstalledEndsAsAnUncaughtString) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = run_refusing({SYS_rt_sigaction, SIGINT});
  EXPECT_EQ(outcome.signal, SIGABRT);
  EXPECT_NE(outcome.err.find("basic_string"), std::string::npos) << outcome.err;
}

TEST(Failure, AnAlarmHandlerThatCannotBeInstalledEndsAsAnUncaughtString) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = run_refusing({SYS_rt_sigaction, SIGALRM});
  EXPECT_EQ(outcome.signal, SIGABRT);
  EXPECT_NE(outcome.err.find("basic_string"), std::string::npos) << outcome.err;
}

TEST(Failure, ATimerThatCannotBeArmedEndsAsAnUncaughtString) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = run_refusing({SYS_setitimer, {}});
  EXPECT_EQ(outcome.signal, SIGABRT);
  EXPECT_NE(outcome.err.find("basic_string"), std::string::npos) << outcome.err;
}

TEST(Failure, AUserIdThatCannotBeChangedEndsAsAnUncaughtException) {
  const Outcome outcome = run_refusing({SYS_setresuid, {}});
  EXPECT_EQ(outcome.signal, SIGABRT);
  EXPECT_NE(outcome.err.find("UIDException"), std::string::npos) << outcome.err;
}

class PrivilegedFailure : public testing::Test {
 protected:
  void SetUp() override { SKIP_UNLESS_MAY_RUN(As::kRoot); }
};

// Refused before the fans are looked for, of which there are none.
TEST_F(PrivilegedFailure, AScheduleTooLargeForMemoryIsRefusedBeforeAnythingIsChanged) {
  for (const char* envelope : {"-z", "-e"}) {
    const Outcome outcome = program::run(
        vorn({"-s", "3000", "-w", "bspin", "-f", "1e6", envelope, "1e-6", "-t", "5"}, As::kRoot));
    EXPECT_EQ(outcome.status, 255) << "signal " << outcome.signal;
    EXPECT_EQ(outcome.err.find("The waveform's schedule is too large for memory: "), 0U)
        << outcome.err;
    EXPECT_EQ(outcome.err.find("fans"), std::string::npos) << outcome.err;
  }
}

TEST_F(PrivilegedFailure, FansWithoutAService) {
  expect_failure(program::run(vorn({"-s", "3000", "-t", "5"}, As::kRoot)),
                 std::string("KxIteratorNext() returned NULL\n"
                             "Unable to set fans to 3000RPM\n") +
                     kNoController);
}

TEST_F(PrivilegedFailure, FansAtTheirMaximumWithoutAService) {
  expect_failure(program::run(vorn({"-t", "5"}, As::kRoot)),
                 std::string("KxIteratorNext() returned NULL\n"
                             "Unable to set fans to 4294967295RPM\n") +
                     kNoController);
}

TEST_F(PrivilegedFailure, APStateWithoutAService) {
  expect_failure(program::run(vorn({"-s", "0", "-p", "2", "-t", "5"}, As::kRoot)),
                 "No service matching \"KxPlatformPlugin\"\n"
                 "Unable to set P-state 2\n"
                 "vorn: note: this machine shows no power plugin, that is no P-states; vorn-keys "
                 "--check says what there is; root always forces one, so run it not as root, or "
                 "use vorn-sim\n");
}

}  // namespace
