#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <regex>
#include <thread>

#include "program/samples.h"
#include "program/vorn_program.h"
#include "vorn/version.h"

// Privileged runs on the simulated machine: fans and P-states, set and given back.

namespace {

using program::As;
using program::Command;
using program::Outcome;
using program::Running;

class SimulatedFans : public testing::Test {
 protected:
  void SetUp() override { SKIP_UNLESS_MAY_RUN(As::kRoot); }

  static Outcome run(std::vector<std::string> arguments) {
    return program::run(vorn_sim(std::move(arguments), As::kRoot));
  }

  /// The samples of one fan's speed in a run with `arguments`.
  static Samples speeds(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"-m", "-r", "20", "-k", "F0Ac", "-k", "F2Ac"});
    return parse_samples(run(std::move(arguments)).out);
  }
};

TEST_F(SimulatedFans, RunAtTheirMaximumAndTheProcessorInPStateZeroByDefault) {
  const Outcome outcome = run({"-n", "-c", "1", "-t", "1"});
  const std::string processors = std::to_string(std::thread::hardware_concurrency());
  EXPECT_EQ(outcome.err, longversion + ", running on a " + processors +
                             "-core system in P0\n"
                             "\t+ fans F0Tg, F1Tg @ max \n"
                             "\tworkload thread on core 0 running \"spin\" (priority 63)\n" +
                             kBothRestored);
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(SimulatedFans, AreHeldAtTheSpeedGiven) {
  const Outcome outcome = run({"-n", "-c", "1", "-s", "2500", "-p", "3", "-a", "F0Tg", "-t", "1"});
  const std::string processors = std::to_string(std::thread::hardware_concurrency());
  EXPECT_EQ(outcome.err, longversion + ", running on a " + processors +
                             "-core system in P3\n"
                             "\t+ fan F0Tg @ 2500RPM\n"
                             "\tworkload thread on core 0 running \"spin\" (priority 63)\n" +
                             kBothRestored);
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(SimulatedFans, AreLeftAloneAtASpeedOfZero) {
  const Outcome outcome = run({"-c", "1", "-s", "0", "-t", "1"});
  EXPECT_EQ(outcome.err, "Power balancing restored\n");
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(SimulatedFans, OnlyThoseNamedAreForced) {
  const Samples samples = speeds({"-c", "1", "-s", "-1", "-a", "F0Tg", "-t", "3"});
  ASSERT_FALSE(samples.empty());
  EXPECT_GT(samples.back()[1], 1.5 * samples.front()[1]) << "fan 0 goes to its maximum";
  EXPECT_LT(samples.back()[2], 1.5 * samples.front()[2]) << "fan 2 is the automatic control's";
}

TEST_F(SimulatedFans, SwitchBetweenAStopAndTheirSpeed) {
  const Samples samples = speeds({"-c", "1", "-s", "3000", "-F", "0.25", "-t", "6"});
  // They rise from the start, fall after half a period, and rise again after another.
  const auto speed_at = [&samples](double t) {
    const auto at = std::find_if(samples.begin(), samples.end(),
                                 [t](const auto& sample) { return sample[0] >= t; });
    return at == samples.end() ? -1.0 : (*at)[1];
  };
  EXPECT_GT(speed_at(1.9), speed_at(0.1) + 500.0);
  EXPECT_LT(speed_at(3.9), speed_at(1.9) - 500.0);
  EXPECT_GT(speed_at(5.4), speed_at(3.9) + 500.0);
}

TEST_F(SimulatedFans, ANameThatIsNoFansFailsTheRun) {
  const Outcome outcome = run({"-s", "3000", "-a", "F3Tg", "-t", "5"});
  EXPECT_EQ(outcome.err,
            "Unrecognized SMC fan key \"F3Tg\"\n"
            "Unable to set fans to 3000RPM\n"
            "vorn-sim: note: this machine has no fan \"F3Tg\"; vorn-keys-sim lists its fans (F0Tg, "
            "...); name them with -a, or leave all alone with -s 0\n");
  EXPECT_EQ(outcome.status, 255);
}

TEST_F(SimulatedFans, ASpeedThatTheirKeyCannotHoldFailsTheRun) {
  const Outcome outcome = run({"-s", "9000", "-t", "5"});
  EXPECT_EQ(outcome.err,
            "Value too large for SMC data type FPe2\n"
            "Unable to set fans to 9000RPM\n");
  EXPECT_EQ(outcome.status, 255);
}

TEST_F(SimulatedFans, APStateThatThereIsNotFailsTheRun) {
  const Outcome outcome = run({"-s", "0", "-p", "99", "-t", "5"});
  EXPECT_EQ(outcome.err,
            "KxConnectMethodScalarIScalarO(): error kKxReturnBadArgument\n"
            "Unable to set P-state 99\n");
  EXPECT_EQ(outcome.status, 255);
}

TEST_F(SimulatedFans, ASlowerPStateUsesLessPower) {
  // Power is a mean over 0.1 s. Where other programs held the load up it is too low, so that the
  // most that a run draws is what its P-state allows.
  const auto power_in = [](const char* pstate) {
    double most = 0;
    for (const std::vector<double>& sample :
         parse_samples(run({"-m", "-r", "20", "-c", "1", "-s", "0", "-p", pstate, "-t", "2"}).out))
      most = std::max(most, sample[1]);
    return most;
  };
  EXPECT_LT(power_in("7"), 0.7 * power_in("0"));
}

// In every stage: before the set-up, in it, while threads start, in the head start, in the run.
TEST_F(SimulatedFans, AreGivenBackFromEveryStage) {
  for (int run = 0; run < 36; ++run) {
    Running running(
        vorn_sim({"-m", "-c", "2", "-w", "bspin", "-f", "100", "-s", "2000"}, As::kRoot));
    ASSERT_TRUE(running.wait_until_catching());
    usleep(static_cast<useconds_t>(run < 24 ? 60 * run : 60000 * (run - 24)));
    running.send(SIGINT);
    const Outcome outcome = running.wait();
    EXPECT_EQ(outcome.status, 0) << run;
    EXPECT_NE(outcome.err.find("Fans restored\n"), std::string::npos) << run << outcome.err;
  }
}

TEST_F(SimulatedFans, AreGivenBackWhenNobodyReadsTheSamples) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  Command command = vorn_sim({"-m", "-r", "50", "-c", "1", "-s", "2000"}, As::kRoot);
  command.standard_output = "/proc/self/fd/" + std::to_string(ends[1]);
  Running running(command);
  ASSERT_TRUE(running.wait_until_catching());
  close(ends[1]);
  close(ends[0]);
  const Outcome outcome = running.wait();
  const std::string err = program::without_lateness(outcome.err);
  EXPECT_TRUE(std::regex_match(
      err, std::regex("vorn-sim: note: samples are lost, they cannot be written: standard output: "
                      "Broken pipe; lines are taken again when that is over\n"
                      "vorn-sim: note: \\d+ of \\d+ lines of samples were lost: standard output: "
                      "Broken pipe; sample again into another file \\(-o\\)\n"
                      "Power balancing restored\nFans restored\n")))
      << err;
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(SimulatedFans, AWaveOfAnOrdinaryUserFailsAtEachStep) {
  const Outcome outcome =
      program::run(vorn_sim({"-c", "1", "-f", "10", "-F", "2", "-s", "2000", "-t", "1"}));
  const std::string once =
      "KxConnectMethodStructureIStructureO(): error kKxReturnNotPermitted\n"
      "Unable to set fans to 0RPM\n";
  EXPECT_NE(outcome.err.find(once + once), std::string::npos) << outcome.err;
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(SimulatedFans, AreGivenBackAlthoughNobodyTakesTheSamples) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  ASSERT_GT(fcntl(ends[1], F_SETPIPE_SZ, 4096), 0);
  Command command = vorn_sim({"-m", "-r", "2000", "-c", "1", "-s", "2000"}, As::kRoot);
  command.standard_output = "/proc/self/fd/" + std::to_string(ends[1]);
  Running running(command);
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));  // the pipe is full
  running.send(SIGINT);
  for (int tries = 0; tries < 5000 && running.err() != kBothRestored; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(running.err(), kBothRestored);
  close(ends[0]);  // it ends when its reader goes
  EXPECT_EQ(running.wait().status, 0);
  close(ends[1]);
}

TEST_F(SimulatedFans, AreNotTheOrdinaryUsersToSet) {
  const Outcome outcome = program::run(vorn_sim({"-c", "1", "-s", "3000", "-p", "2", "-t", "1"}));
  EXPECT_EQ(
      outcome.err,
      "vorn-sim: note: -s not as root: the fans stay as they are; run it with sudo, or leave "
      "them out\n"
      "vorn-sim: note: -p not as root: the P-state stays as it is; run it with sudo, or leave "
      "it out\n");
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(SimulatedFans, AndFixedPrioritiesAreTheSetUserIdProgramsToTake) {
  if (program::kSanitized) {
    GTEST_SKIP() << "the sanitizers' runtimes refuse to run set-user-id";
  }
  const OpenFolder folder;
  const std::string copy = folder.file("vorn-sim");
  std::filesystem::copy_file(VORN_SIM_PROGRAM, copy);
  ASSERT_EQ(chmod(copy.c_str(), 04755), 0);
  Command command =
      vorn_sim({"-c", "2", "-w", "bspin", "-f", "10", "-s", "2000", "-t", "1"}, As::kOrdinaryUser);
  command.path = copy;
  const Outcome outcome = program::run(command);
  EXPECT_EQ(outcome.err, kBothRestored) << "no notice of priorities that were refused";
  EXPECT_EQ(outcome.status, 0);
}

}  // namespace
