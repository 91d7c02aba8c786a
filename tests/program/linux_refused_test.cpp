#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <linux/capability.h>

#include <fstream>
#include <functional>
#include <map>
#include <string>

#include "program/control_group.h"
#include "program/tree_machine.h"
#include "program/vorn_program.h"

// A set-user-id run whose guardian its caller could stop changes neither fans nor P-states, and
// says why. The same run of root's goes on.

namespace {

using program::As;
using program::Outcome;

class LinuxRefused : public testing::Test {
 protected:
  void SetUp() override {
    SKIP_UNLESS_MAY_RUN(As::kRoot);
    if (program::kSanitized) {
      GTEST_SKIP() << "the sanitizers' runtimes refuse to run set-user-id";
    }
    machine_.tree().keep_curves();
    before_ = machine_.tree().snapshot();
  }

  program::Command by_root(std::vector<std::string> arguments) const {
    arguments.insert(arguments.end(), {"-c", "1", "-w", "bspin", "-f", "10", "-t", "1"});
    return machine_.vorn(std::move(arguments));
  }
  program::Command by_its_caller(std::vector<std::string> arguments) const {
    return machine_.set_user_id(by_root(std::move(arguments)));
  }

  /// That of a run of this process's child, after `bind`; a status of 77 if that is not to be had.
  Outcome run_bound(const program::Command& command, const std::function<bool()>& bind) const {
    const std::string said = machine_.folder() + "/said";
    const pid_t child = fork();
    if (child == 0) {
      if (!bind()) {
        _exit(77);
      }
      const Outcome outcome = program::run(command);
      std::ofstream(said) << outcome.err;
      _exit(outcome.status);
    }
    int status = 0;
    waitpid(child, &status, 0);
    Outcome outcome;
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ifstream in(said);
    outcome.err.assign(std::istreambuf_iterator<char>(in), {});
    return outcome;
  }

  TreeMachine machine_{"two_socket_intel"};
  std::map<std::string, std::string> before_;
};

/// Sets the limit, and takes away the right by which root lifts it again.
bool limit_for_good(__rlimit_resource resource, rlim_t value) {
  const rlimit both{value, value};
  return setrlimit(resource, &both) == 0 && prctl(PR_CAPBSET_DROP, CAP_SYS_RESOURCE, 0, 0, 0) == 0;
}

TEST_F(LinuxRefused, IsARunWhoseGuardianCannotLiftALimit) {
  const std::string with =
      "vorn: FS! : starting the guardian of the fans: it cannot lift its limit ";
  const std::string end =
      ", by which its caller could stop it; only root itself may change the fans here\n";
  struct Case {
    __rlimit_resource resource;
    rlim_t value;
    const char* of;
  };
  constexpr rlim_t kSeconds = 100;
  constexpr rlim_t kMicroseconds = 100'000'000;
  constexpr rlim_t kBytes = 1'000'000'000;
  for (const auto& [resource, value, of] :
       {Case{RLIMIT_CPU, kSeconds, "of processor time"},
        Case{RLIMIT_RTTIME, kMicroseconds,
             "of time at a fixed"
             " priority"},
        Case{RLIMIT_FSIZE, kBytes, "of file size"}, Case{RLIMIT_DATA, kBytes, "of data"},
        Case{RLIMIT_NOFILE, 256, "of open files"}}) {
    const auto bind = [resource = resource, value = value] {
      return limit_for_good(resource, value);
    };
    const Outcome refused = run_bound(by_its_caller({"-s", "1500", "-p", "3"}), bind);
    EXPECT_EQ(refused.status, 255) << of;
    EXPECT_NE(refused.err.find(with + of + end), std::string::npos) << refused.err;
    EXPECT_EQ(machine_.tree().snapshot(), before_) << of;
    EXPECT_EQ(machine_.tree().left_to_give_back(), "");

    const Outcome of_root = run_bound(by_root({"-s", "1500", "-p", "3"}), bind);
    EXPECT_EQ(of_root.status, 0) << of << of_root.err;
    EXPECT_EQ(program::without_lateness(of_root.err), kBothRestored) << of;
  }
}

TEST_F(LinuxRefused, IsAPStateToo) {
  const Outcome refused = run_bound(by_its_caller({"-s", "0", "-p", "3"}),
                                    [] { return limit_for_good(RLIMIT_FSIZE, 1'000'000'000); });
  EXPECT_EQ(refused.status, 255);
  EXPECT_NE(refused.err.find("starting the guardian of the P-states: it cannot lift its limit of "
                             "file size, by which its caller could stop it; only root itself may "
                             "change the P-states here\n"),
            std::string::npos)
      << refused.err;
  EXPECT_EQ(machine_.tree().snapshot(), before_);
}

// The hierarchy is hidden, as it is in a container, from a run in a group of its own.
TEST_F(LinuxRefused, IsARunWhoseGuardianCannotLeaveAGroup) {
  for (const auto kind : {ControlGroup::Kind::unified, ControlGroup::Kind::freezer}) {
    const ControlGroup group(kind);
    if (!group.is_there()) {
      continue;
    }
    const auto bind = [&group] {
      return group.tell("cgroup.procs", "0") && unshare(CLONE_NEWNS) == 0 &&
             mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
             umount2("/sys/fs/cgroup", MNT_DETACH) == 0;
    };
    const Outcome refused = run_bound(by_its_caller({"-s", "1500", "-p", "3"}), bind);
    if (refused.status == 77) {
      GTEST_SKIP() << "may not hide control groups here";
    }
    EXPECT_EQ(refused.status, 255);
    EXPECT_NE(
        refused.err.find("starting the guardian of the fans: it cannot leave the control group "),
        std::string::npos)
        << refused.err;
    EXPECT_NE(refused.err.find(":/vorn-test-"), std::string::npos) << refused.err;
    EXPECT_EQ(machine_.tree().snapshot(), before_);
    const Outcome of_root = run_bound(by_root({"-s", "1500", "-p", "3"}), bind);
    EXPECT_EQ(of_root.status, 0) << of_root.err;
    EXPECT_EQ(program::without_lateness(of_root.err), kBothRestored);
  }
}

}  // namespace
