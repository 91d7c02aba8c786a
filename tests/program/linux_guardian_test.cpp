#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>

#include "machines/linux/sysfs/attribute.h"
#include "program/control_group.h"
#include "program/fixed_priorities.h"
#include "program/guardians.h"
#include "program/tree_machine.h"
#include "program/vorn_program.h"

// What a run and whoever starts it may do to the guardian, and what the guardian does then.

namespace {

using program::As;
using program::Outcome;
using program::Running;

constexpr const char* kHottest = "devices/platform/coretemp.1/hwmon/hwmon2/temp1_input";
constexpr int kLoadPriority = 31;  // beside a waveform

class LinuxGuardian : public testing::Test {
 protected:
  void SetUp() override {
    SKIP_UNLESS_MAY_RUN(As::kRoot);
    machine_.tree().keep_curves();
    before_ = machine_.tree().snapshot();
  }

  program::Command fans_and_pstate() const {
    return machine_.vorn({"-c", "1", "-w", "bspin", "-f", "10", "-s", "1500", "-p", "3"});
  }

  /// Waits until `happened`, as long as two guardians with all their patience may take.
  static bool wait_until(const std::function<bool()>& happened) {
    for (int tries = 0; tries < 8000 && !happened(); ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return happened();
  }
  bool is_given_back() {
    return wait_until([this] {
      return machine_.tree().left_to_give_back().empty() && machine_.tree().snapshot() == before_;
    });
  }
  static bool says(const Running& running, const std::string& text) {
    return wait_until([&] { return running.err().find(text) != std::string::npos; });
  }
  /// Waits until fans and P-state are forced and the load runs, at a priority that it takes last: a
  /// run that is stopped before fails to start.
  bool is_forced_by(const Running& running) {
    return wait_until([&] {
      const auto now = machine_.tree().snapshot();
      return now.at("devices/platform/nct6775.656/hwmon/hwmon3/pwm2_enable") == "1" &&
             now.at("devices/system/cpu/cpufreq/policy0/scaling_max_freq") == "3400000" &&
             std::ranges::count(fixed_priorities(running.pid()), kLoadPriority) > 0;
    });
  }
  void heat() { ASSERT_TRUE(sysfs::write_text(machine_.tree().sys(), kHottest, "104000")); }

  TreeMachine machine_{"two_socket_intel"};
  std::map<std::string, std::string> before_;
};

TEST_F(LinuxGuardian, GivesBackInPlaceOfAStoppedRun) {
  Running running(fans_and_pstate());
  ASSERT_TRUE(is_forced_by(running));
  running.send(SIGSTOP);
  EXPECT_TRUE(is_given_back());
  EXPECT_TRUE(says(running, "vorn: the fans are given back: the run has shown no sign of life"));
  EXPECT_TRUE(says(running, "vorn: the P-states are given back: the run has shown no sign of"));
  EXPECT_TRUE(wait_until([this] { return living_guardians(machine_.folder()).empty(); }));

  const Outcome second = program::run(machine_.vorn({"-c", "1", "-s", "900", "-t", "1"}));
  EXPECT_EQ(second.status, 0) << "a stopped run holds nothing\n" << second.err;

  running.send(SIGCONT);
  running.send(SIGINT);
  EXPECT_EQ(running.wait().status, 0);
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

TEST_F(LinuxGuardian, WatchesInPlaceOfAStoppedRun) {
  Running running(fans_and_pstate());
  ASSERT_TRUE(is_forced_by(running));
  running.send(SIGSTOP);
  heat();
  EXPECT_TRUE(says(running, std::string("vorn: the fans are given back: ") + kHottest +
                                " reads 104 degrees, and 100 degrees are critical\n"));
  EXPECT_TRUE(is_given_back());
}

TEST_F(LinuxGuardian, ARunForcesNothingOnceItsGuardianHasGivenBack) {
  Running running(
      machine_.vorn({"-c", "1", "-w", "bspin", "-f", "10", "-s", "1500", "-F", "8", "-p", "3"}));
  ASSERT_TRUE(is_forced_by(running));
  for (const int signo : {SIGSTOP, SIGCONT}) {
    running.send(signo);
    EXPECT_TRUE(is_given_back());
  }
  EXPECT_TRUE(says(running, "no fan is forced any more in this run: the run has shown no sign"));
  running.send(SIGINT);
  EXPECT_EQ(running.wait().status, 0);
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

TEST_F(LinuxGuardian, RootTakesOverFromAStoppedRunWithoutAGuardian) {
  Running running(fans_and_pstate());
  ASSERT_TRUE(is_forced_by(running));
  running.send(SIGSTOP);
  for (const pid_t guardian : living_guardians(machine_.folder())) {
    kill(guardian, SIGKILL);
  }
  const Outcome restored = program::run(machine_.keys({"--restore"}));
  EXPECT_EQ(restored.out, "P-states: given back\nfans: given back\n") << restored.err;
  EXPECT_EQ(machine_.tree().snapshot(), before_);
  running.send(SIGCONT);
  running.send(SIGINT);
  EXPECT_EQ(running.wait().status, 0);
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

TEST_F(LinuxGuardian, ARunWithoutAGuardianHoldsNoFans) {
  for (const int signo : {SIGKILL, SIGSTOP}) {
    Running running(fans_and_pstate());
    ASSERT_TRUE(is_forced_by(running));
    const std::vector<pid_t> guardians = living_guardians(machine_.folder());
    for (const pid_t guardian : guardians) {
      kill(guardian, signo);
    }
    EXPECT_TRUE(says(running, signo == SIGKILL
                                  ? "the fans are given back: their guardian has been ended"
                                  : "the fans are given back: their guardian has shown no sign"));
    running.send(SIGINT);
    EXPECT_EQ(running.wait().status, 0);
    EXPECT_EQ(machine_.tree().snapshot(), before_);
    for (const pid_t guardian : guardians) {
      kill(guardian, SIGCONT);
    }
  }
}

// As a start that fails: its guardian is who gives back, and this one stands still.
TEST_F(LinuxGuardian, RootTakesOverFromAStoppedGuardianWhoseRunHasEnded) {
  Running running(fans_and_pstate());
  ASSERT_TRUE(is_forced_by(running));
  const std::vector<pid_t> guardians = living_guardians(machine_.folder());
  for (const pid_t guardian : guardians) {
    kill(guardian, SIGSTOP);
  }
  running.send(SIGKILL);
  EXPECT_EQ(running.wait().signal, SIGKILL);
  EXPECT_NE(machine_.tree().snapshot(), before_);
  const Outcome next = program::run(machine_.vorn({"-c", "1", "-s", "1200", "-t", "1"}));
  EXPECT_EQ(next.status, 255);
  EXPECT_NE(next.err.find("another run holds the fans"), std::string::npos) << next.err;
  const Outcome restored = program::run(machine_.keys({"--restore"}));
  EXPECT_EQ(restored.out, "P-states: given back\nfans: given back\n") << restored.err;
  EXPECT_EQ(machine_.tree().snapshot(), before_);
  for (const pid_t guardian : guardians) {
    kill(guardian, SIGCONT);
  }
  EXPECT_TRUE(wait_until([this] { return living_guardians(machine_.folder()).empty(); }));
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

/// Starts a run in the group.
std::unique_ptr<Running> start_in(const ControlGroup& group, const program::Command& command) {
  std::unique_ptr<Running> running;
  std::thread([&] {  // a group of the first version is a thread's; its own is the process's
    running = std::make_unique<Running>(command);
  })
      .join();
  EXPECT_TRUE(group.tell("cgroup.procs", std::to_string(running->pid())));
  return running;
}

TEST_F(LinuxGuardian, IsNotFrozenWithTheCallersGroup) {
  for (const auto kind : {ControlGroup::Kind::unified, ControlGroup::Kind::freezer}) {
    const ControlGroup group(kind);
    if (!group.is_there()) {
      continue;
    }
    const bool unified = kind == ControlGroup::Kind::unified;
    const auto running = start_in(group, fans_and_pstate());
    ASSERT_TRUE(is_forced_by(*running));
    ASSERT_TRUE(unified ? group.tell("cgroup.freeze", "1") : group.tell("freezer.state", "FROZEN"));
    EXPECT_TRUE(is_given_back());
    ASSERT_TRUE(unified ? group.tell("cgroup.freeze", "0") : group.tell("freezer.state", "THAWED"));
    running->send(SIGINT);
    EXPECT_EQ(running->wait().status, 0);
    EXPECT_EQ(machine_.tree().snapshot(), before_);
  }
}

TEST_F(LinuxGuardian, IsNotKilledWithTheCallersGroup) {
  const ControlGroup group(ControlGroup::Kind::unified);
  if (!group.is_there()) {
    GTEST_SKIP() << "no control groups of the second version here";
  }
  const auto running = start_in(group, fans_and_pstate());
  ASSERT_TRUE(is_forced_by(*running));
  ASSERT_TRUE(group.tell("cgroup.kill", "1"));
  EXPECT_EQ(running->wait().signal, SIGKILL);
  EXPECT_TRUE(is_given_back());
}

/// Runs `act` as the first process of a world of processes of its own; its numbers begin anew
/// there. Returns its status; 77 if that is not to be had.
int in_own_process_numbers(const std::function<int()>& act) {
  const pid_t outside = fork();
  if (outside == 0) {
    if (unshare(CLONE_NEWPID) != 0) {
      _exit(77);
    }
    const pid_t first = fork();
    if (first == 0) {
      _exit(act());
    }
    int status = 0;
    waitpid(first, &status, 0);
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 99);
  }
  int status = 0;
  waitpid(outside, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 99;
}

/// Kills as the ordinary user, for a while, whatever process gets one of the numbers after that of
/// the run, which is the next one. The run's threads are numbered like processes, and are spared.
pid_t start_killer() {
  const pid_t killer = fork();
  if (killer == 0) {
    constexpr uid_t kOrdinaryUserId = 64321;  // that of program::As::kOrdinaryUser
    constexpr pid_t kNumbers = 8;  // of the listener, the throttle guard, and the two forks
    if (setresuid(kOrdinaryUserId, kOrdinaryUserId, kOrdinaryUserId) != 0) {
      _exit(1);
    }
    const pid_t run = getpid() + 1;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(400);
    while (std::chrono::steady_clock::now() < end) {
      for (pid_t number = run + 1; number < run + kNumbers; ++number) {
        if (tgkill(run, number, 0) != 0) {
          kill(number, SIGKILL);
        }
      }
    }
    _exit(0);
  }
  return killer;
}

// Between its birth and the moment when it is root's own, the guardian of a set-user-id program is
// its caller's to kill.
TEST_F(LinuxGuardian, NothingIsForcedWithoutOneThatCannotBeKilledByTheCaller) {
  if (program::kSanitized) {
    GTEST_SKIP() << "the sanitizers' runtimes refuse to run set-user-id";
  }
  const program::Command command = machine_.set_user_id(fans_and_pstate());
  for (int times = 0; times < 2; ++times) {
    const int status = in_own_process_numbers([&] {
      const pid_t killer = start_killer();
      Running running(command);
      waitpid(killer, nullptr, 0);
      running.send(SIGKILL);
      running.wait();
      return is_given_back() ? 0 : 1;
    });
    if (status == 77) {
      GTEST_SKIP() << "no process numbers of its own here";
    }
    ASSERT_EQ(status, 0) << machine_.tree().left_to_give_back();
  }
}

/// What /proc/<pid>/status says of this name, without its unit.
long status_of(pid_t pid, const std::string& name) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with(name + ":")) {
      return std::stol(line.substr(name.size() + 1));
    }
  }
  return -1;
}

std::ptrdiff_t open_files_of(pid_t pid) {
  const std::filesystem::directory_iterator files("/proc/" + std::to_string(pid) + "/fd");
  return std::distance(begin(files), end(files));
}

TEST_F(LinuxGuardian, GrowsNeitherInMemoryNorInFiles) {
  Running running(
      machine_.vorn({"-c", "1", "-w", "bspin", "-f", "10", "-s", "1500", "-F", "5", "-p", "3"}));
  ASSERT_TRUE(is_forced_by(running));
  ASSERT_TRUE(wait_until([this] { return living_guardians(machine_.folder()).size() == 2; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(1200));  // it has read all, several times
  for (const pid_t guardian : living_guardians(machine_.folder())) {
    EXPECT_EQ(status_of(guardian, "Uid"), 0);
    EXPECT_NE(getsid(guardian), getsid(0));
  }
  std::map<pid_t, std::array<long, 3>> first;
  const auto memory_of = [](pid_t pid, const std::string& kind) {
    return program::kSanitized ? 0 : status_of(pid, kind);  // the runtimes keep what was freed
  };
  const auto look = [&](pid_t pid) {
    return std::array<long, 3>{memory_of(pid, "VmData"), memory_of(pid, "VmSize"),
                               open_files_of(pid)};
  };
  for (const pid_t guardian : living_guardians(machine_.folder())) {
    first[guardian] = look(guardian);
  }
  std::this_thread::sleep_for(std::chrono::seconds(2));
  for (const auto& [guardian, then] : first) {
    EXPECT_EQ(look(guardian), then) << guardian;
  }
  running.send(SIGINT);
  EXPECT_EQ(running.wait().status, 0);
}

}  // namespace
