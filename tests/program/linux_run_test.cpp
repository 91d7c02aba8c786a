#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <fstream>
#include <iterator>
#include <random>

#include "machines/linux/sysfs/attribute.h"
#include "program/samples.h"
#include "program/tree_machine.h"
#include "program/vorn_program.h"

// Runs of the program on a real machine's files, whose fans lag and whose clocks change later.

namespace {

using program::As;
using program::Outcome;
using program::Running;

constexpr const char* kMachine = "two_socket_intel";

class LinuxRun : public testing::Test {
 protected:
  explicit LinuxRun(int pace = 1) : machine_(kMachine, pace) {}

  void SetUp() override {
    SKIP_UNLESS_MAY_RUN(As::kRoot);
    machine_.tree().keep_curves();
    before_ = machine_.tree().snapshot();
  }

  Outcome run(std::vector<std::string> arguments, As as = As::kRoot) {
    return program::run(machine_.vorn(std::move(arguments), as));
  }

  /// A copy of a program that runs set-user-id, on a machine that lets it.
  std::string set_user_id_copy(const std::string& path) {
    std::string copy = machine_.folder() + "/vorn";
    std::filesystem::copy_file(path, copy);
    EXPECT_EQ(chmod(copy.c_str(), 04755), 0);
    // The machine of files keeps its state by opening files anew, with the rights of that moment.
    for (const auto& file :
         std::filesystem::recursive_directory_iterator(machine_.folder() + "/sys")) {
      if (file.is_regular_file() && !file.is_symlink()) {
        std::filesystem::permissions(file, std::filesystem::perms::others_write,
                                     std::filesystem::perm_options::add);
      }
    }
    return copy;
  }

  TreeMachine machine_;
  std::map<std::string, std::string> before_;
};

TEST_F(LinuxRun, SetsFansAndPStateAndGivesThemBack) {
  const Outcome outcome = run({"-c", "1", "-s", "1500", "-p", "3", "-t", "1"});
  EXPECT_EQ(outcome.err, kBothRestored);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(machine_.tree().snapshot(), before_);
  EXPECT_EQ(machine_.tree().left_to_give_back(), "");
}

TEST_F(LinuxRun, HoldsTheProcessorsInTheirPStateWhileItRuns) {
  Running running(machine_.vorn({"-c", "1", "-s", "0", "-p", "5", "-w", "bspin", "-f", "10"}));
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const auto now = machine_.tree().snapshot();
  EXPECT_EQ(now.at("devices/system/cpu/cpufreq/policy0/scaling_min_freq"), "3200000");
  EXPECT_EQ(now.at("devices/system/cpu/cpufreq/policy0/scaling_max_freq"), "3200000");
  running.send(SIGINT);
  EXPECT_EQ(running.wait().err, "Power balancing restored\n");
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

/// The same, where time passes four times as fast for the fans.
class LinuxRunOfQuickFans : public LinuxRun {
 protected:
  LinuxRunOfQuickFans() : LinuxRun(4) {}
};

TEST_F(LinuxRunOfQuickFans, DrivesTheFansToTheirSpeed) {
  const Outcome outcome = run({"-c", "1", "-s", "1500", "-p", "0", "-m", "-r", "8", "-k", "F0Ac",
                               "-k", "F1Ac", "-k", "F0Tg", "-t", "3"});
  EXPECT_EQ(program::without_lateness(outcome.err), kBothRestored);
  const Samples samples = parse_samples(outcome.out);
  ASSERT_GT(samples.size(), 10U);
  EXPECT_NEAR(samples.back()[1], 1500, 75);
  EXPECT_NEAR(samples.back()[2], 1500, 75);
  EXPECT_EQ(samples.back()[3], 1500);
}

TEST_F(LinuxRunOfQuickFans, SwitchesTheFansInAWave) {
  const Outcome outcome = run({"-c", "1", "-w", "bspin", "-f", "20", "-s", "1800", "-F", "0.7",
                               "-m", "-r", "35", "-k", "F0Ac", "-a", "F0Tg", "-t", "2"});
  EXPECT_EQ(program::without_lateness(outcome.err), kBothRestored);
  const Samples samples = parse_samples(outcome.out);
  double most = 0;
  for (const auto& sample : samples) {
    most = std::max(most, sample[1]);
  }
  EXPECT_GT(most, 1500);
  EXPECT_LT(samples.at(samples.size() * 2 / 3)[1], most - 500) << "on its way to a stop";
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

TEST_F(LinuxRun, SamplesWhatTheMachineMeasures) {
  const Outcome outcome = run({"-c", "1", "-s", "0", "-m", "-r", "10", "-k", "TC0D", "-k", "TC1D",
                               "-k", "TC0P", "-t", "1"});
  const Samples samples = parse_samples(outcome.out);
  ASSERT_FALSE(samples.empty());
  EXPECT_EQ(samples.front()[1], 55);
  EXPECT_EQ(samples.front()[2], 57);
  EXPECT_EQ(samples.front()[3], 57);
}

TEST_F(LinuxRun, SamplesThePowerOfBothPackages) {
  // Who is held up between a counter and the clock shows another power: such a run is repeated.
  constexpr int kRuns = 3;
  double off_w = 2;
  for (int each = 0; each < kRuns && off_w > 1; ++each) {
    const Outcome outcome = run({"-c", "1", "-s", "0", "-m", "-r", "20", "-t", "1"});
    const Samples samples = parse_samples(outcome.out);
    ASSERT_GT(samples.size(), 5U);
    off_w = 0;
    for (const auto& sample : samples) {
      off_w = std::max(off_w, std::abs(sample[1] - 2 * LiveTree::kPowerW));
    }
  }
  EXPECT_LE(off_w, 1) << "in each sample of a run";
}

TEST_F(LinuxRun, ReadsItsSensorsWithoutBeingRoot) {
  const Outcome outcome =
      run({"-c", "1", "-m", "-k", "TC0D", "-k", "F0Ac", "-t", "1"}, As::kUserWithFixedPriority);
  EXPECT_EQ(program::without_lateness(outcome.err), "");
  EXPECT_EQ(parse_samples(outcome.out).front()[1], 55);
}

TEST_F(LinuxRun, NamesTheCounterThatOnlyRootMayRead) {
  const Outcome outcome = run({"-c", "1", "-m", "-t", "1"}, As::kUserWithFixedPriority);
  EXPECT_NE(outcome.err.find("energy_uj: Permission denied\n"), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find("kKxReturnNotPermitted"), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find("sudo setcap cap_sys_nice,cap_dac_read_search+ep "), std::string::npos)
      << outcome.err;
  EXPECT_EQ(outcome.status, 0) << "the load goes on without samples";
}

TEST_F(LinuxRun, RefusesAPStateThatThereIsNotAndChangesNothing) {
  const Outcome outcome = run({"-s", "0", "-p", "99", "-t", "1"});
  EXPECT_EQ(outcome.err,
            "KxConnectMethodScalarIScalarO(): error kKxReturnBadArgument\n"
            "Unable to set P-state 99\n");
  EXPECT_EQ(outcome.status, 255);
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

TEST_F(LinuxRun, LeavesTheFansToAnotherDaemon) {
  std::filesystem::create_directories(machine_.folder() + "/proc/812");
  std::ofstream(machine_.folder() + "/proc/812/comm") << "fancontrol\n";
  const Outcome outcome = run({"-s", "1500", "-t", "1"});
  EXPECT_NE(outcome.err.find("kKxReturnExclusiveAccess"), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find("fancontrol"), std::string::npos) << outcome.err;
  EXPECT_EQ(outcome.status, 255);
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

TEST_F(LinuxRun, LeavesWhatItSetToItsGuardianWhenTheStartFails) {
  Running running(machine_.vorn({"-s", "1500", "-p", "99", "-t", "1"}));
  const Outcome outcome = running.wait();
  EXPECT_EQ(outcome.status, 255);
  EXPECT_TRUE(machine_.is_given_back_in_a_second());
  EXPECT_EQ(machine_.tree().snapshot(), before_);
  const std::string line = "vorn: the run ended without giving back its fans: given back now\n";
  for (int tries = 0; tries < 1000 && running.err().find(line) == std::string::npos; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_NE(running.err().find("Unable to set P-state 99\n"), std::string::npos);
  EXPECT_NE(running.err().find(line), std::string::npos) << running.err();
}

TEST_F(LinuxRun, GivesEverythingBackAtWhateverMomentItIsInterrupted) {
  std::mt19937 random(11);
  for (int run = 0; run < 12; ++run) {
    Running running(machine_.vorn({"-c", "2", "-w", "bspin", "-f", "50", "-s", "1500", "-F", "4",
                                   "-p", "2", "-m", "-r", "20", "-k", "F0Ac"}));
    ASSERT_TRUE(running.wait_until_catching());
    usleep(std::uniform_int_distribution<useconds_t>(0, run % 2 == 0 ? 100'000 : 900'000)(random));
    running.send(SIGINT);
    const Outcome outcome = running.wait();
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    ASSERT_NE(outcome.err.find("Fans restored\n"), std::string::npos) << outcome.err;
    ASSERT_EQ(machine_.tree().snapshot(), before_) << "run " << run;
    ASSERT_EQ(machine_.tree().left_to_give_back(), "");
  }
}

TEST_F(LinuxRun, GivesTheFansBackWhenAProcessorIsTooHot) {
  Running running(machine_.vorn({"-c", "1", "-w", "bspin", "-f", "10", "-s", "900", "-p", "3"}));
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
  EXPECT_NE(machine_.tree().snapshot(), before_);
  ASSERT_TRUE(sysfs::write_text(machine_.tree().sys(),
                                "devices/platform/coretemp.1/hwmon/hwmon2/temp1_input", "104000"));
  for (int tries = 0; tries < 3000 && running.err().empty(); ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_NE(running.err().find("coretemp.1/hwmon/hwmon2/temp1_input"), std::string::npos)
      << running.err();
  const auto now = machine_.tree().snapshot();
  const std::string mode = "devices/platform/nct6775.656/hwmon/hwmon3/pwm2_enable";
  EXPECT_EQ(now.at(mode), before_.at(mode));
  running.send(SIGINT);
  EXPECT_EQ(running.wait().status, 0);
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

TEST_F(LinuxRun, IsNotStoppedFromTheTerminalWhileItHoldsFans) {
  Running running(machine_.vorn({"-c", "1", "-w", "bspin", "-f", "10", "-s", "1500", "-p", "3"}));
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  running.send(SIGTSTP);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  running.send(SIGINT);
  EXPECT_EQ(running.wait(5).status, 0) << "a stopped one would not have ended";
}

/// Whether a thread of the process `pid` is in the opening of a file, and stays there.
bool opens_a_file(pid_t pid) {
  for (const auto& task :
       std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
    std::ifstream call(task.path() / "syscall");
    if (long number = -1; call >> number && number == SYS_openat) {
      return true;
    }
  }
  return false;
}

// The user of a set-user-id program chooses the name of its sample file, and may change what stands
// there while the program waits for it.
TEST_F(LinuxRun, OpensNoFileOfItsUsersWithTheRaisedUserId) {
  if (program::kSanitized) {
    GTEST_SKIP() << "the sanitizers' runtimes refuse to run set-user-id";
  }
  const std::string fifo = machine_.folder() + "/samples";
  const std::string not_the_users = machine_.folder() + "/precious";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0), 0);
  ASSERT_EQ(chmod(fifo.c_str(), 0666), 0);
  std::ofstream(not_the_users) << "root's own\n";
  ASSERT_EQ(chmod(not_the_users.c_str(), 0600), 0);

  program::Command command = machine_.vorn({"-c", "1", "-w", "bspin", "-f", "50", "-s", "1500",
                                            "-p", "2", "-m", "-k", "F0Ac", "-o", fifo},
                                           As::kOrdinaryUser);
  command.path = set_user_id_copy(command.path);
  Running running(command);
  for (int tries = 0; tries < 10000 && !opens_a_file(running.pid()); ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ASSERT_TRUE(opens_a_file(running.pid()));
  std::filesystem::remove(fifo);
  std::filesystem::create_symlink(not_the_users, fifo);
  running.send(SIGINT);
  for (int tries = 0; tries < 10000 && running.err().find("Fans restored") == std::string::npos;
       ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_NE(running.err().find("Fans restored"), std::string::npos) << running.err();
  std::ifstream in(not_the_users);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "root's own\n");
}

TEST_F(LinuxRun, WavesTheFansOfASetUserIdProgramToo) {
  if (program::kSanitized) {
    GTEST_SKIP() << "the sanitizers' runtimes refuse to run set-user-id";
  }
  program::Command command = machine_.vorn(
      {"-c", "1", "-w", "bspin", "-f", "50", "-s", "1500", "-F", "4", "-p", "2", "-t", "2"},
      As::kOrdinaryUser);
  command.path = set_user_id_copy(command.path);
  const Outcome outcome = program::run(command);
  EXPECT_EQ(outcome.err, kBothRestored);
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

TEST_F(LinuxRun, RefusesASecondRunThePartsThatTheFirstOneHolds) {
  Running first(machine_.vorn({"-c", "1", "-w", "bspin", "-f", "10", "-s", "1500", "-p", "3"}));
  ASSERT_TRUE(first.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  const Outcome second = run({"-c", "1", "-s", "900", "-t", "1"});
  EXPECT_NE(second.err.find("another run holds the fans"), std::string::npos) << second.err;
  EXPECT_EQ(second.status, 255);
  first.send(SIGINT);
  EXPECT_EQ(first.wait().status, 0);
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

// Two fans are set unless others are named.
TEST(LinuxRunOn, AMachineWithOneFanSaysHowToNameIt) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  TreeMachine machine("hot_laptop_intel");
  machine.tree().keep_curves();
  const auto before = machine.tree().snapshot();
  std::vector<std::string> arguments = {"-c", "1", "-w", "bspin", "-f", "10", "-t", "1"};
  const Outcome refused = program::run(machine.vorn(arguments));
  EXPECT_EQ(refused.status, 255);
  EXPECT_NE(refused.err.find("this machine has no fan \"F1Tg\"; "), std::string::npos)
      << refused.err;
  EXPECT_NE(refused.err.find("name them with -a, or leave all alone with -s 0"), std::string::npos)
      << refused.err;
  EXPECT_TRUE(machine.is_given_back_in_a_second());
  EXPECT_EQ(machine.tree().snapshot(), before);

  arguments.insert(arguments.end(), {"-a", "F0Tg"});
  const Outcome named = program::run(machine.vorn(arguments));
  EXPECT_EQ(named.status, 0);
  EXPECT_EQ(program::without_lateness(named.err), kBothRestored);
  EXPECT_EQ(machine.tree().snapshot(), before);
}

}  // namespace
