#include <endian.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "program/engine_program.h"
#include "program/samples.h"
#include "program/tree_machine.h"
#include "program/vorn_program.h"

// Which thread has which right, and when: the table of ARCHITECTURE.md.

namespace {

using program::As;
using program::Outcome;
using program::Running;

constexpr std::uint32_t kAdvised = 1U << CAP_SYS_NICE | 1U << CAP_DAC_READ_SEARCH;

class LinuxRights : public testing::Test {
 protected:
  void SetUp() override {
    SKIP_UNLESS_MAY_RUN(As::kRoot);
    if (program::kSanitized) {
      GTEST_SKIP() << "the sanitizers' runtimes refuse to run with rights of the file";
    }
    machine_.tree().keep_curves();
  }

  /// The program with the capabilities that are advised, for an ordinary user.
  program::Command with_capabilities(std::vector<std::string> arguments) {
    return with_capabilities(machine_.vorn(std::move(arguments), As::kOrdinaryUser));
  }
  program::Command with_capabilities(program::Command command) {
    command.path = copy_of(command.path);
    vfs_cap_data data{};
    data.magic_etc = htole32(VFS_CAP_REVISION_2 | VFS_CAP_FLAGS_EFFECTIVE);
    data.data[0].permitted = htole32(kAdvised);
    EXPECT_EQ(setxattr(command.path.c_str(), "security.capability", &data, sizeof data, 0), 0);
    return command;
  }

  /// The program set-user-id root, for an ordinary user.
  program::Command set_user_id(std::vector<std::string> arguments) {
    return machine_.set_user_id(machine_.vorn(std::move(arguments)));
  }

  TreeMachine machine_{"two_socket_intel"};

 private:
  std::string copy_of(const std::string& program) {
    std::string copy = machine_.folder() + "/vorn";
    std::filesystem::copy_file(program, copy);
    return copy;
  }
};

/// What the kernel says of one thread.
struct Thread {
  std::string name;
  long effective_user = -1;
  unsigned long long effective = 0;
  unsigned long long permitted = 0;
};

std::vector<Thread> threads_of(pid_t pid) {
  std::vector<Thread> threads;
  std::error_code gone;
  const std::filesystem::directory_iterator tasks("/proc/" + std::to_string(pid) + "/task", gone);
  for (const auto& task : tasks) {
    std::ifstream in(task.path() / "status");
    Thread thread;
    for (std::string line; std::getline(in, line);) {
      std::istringstream words(line);
      std::string field;
      words >> field;
      if (field == "Name:") {
        words >> thread.name;
      } else if (field == "Uid:") {
        words >> thread.effective_user >> thread.effective_user;
      } else if (field == "CapEff:") {
        words >> std::hex >> thread.effective;
      } else if (field == "CapPrm:") {
        words >> std::hex >> thread.permitted;
      }
    }
    if (thread.effective_user >= 0) {
      threads.push_back(thread);
    }
  }
  return threads;
}

/// Whether it happens within five seconds.
bool comes_to(const std::function<bool()>& happened) {
  for (int tries = 0; tries < 5000 && !happened(); ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return happened();
}

TEST_F(LinuxRights, OpensTheSampleFileWithTheRightsOfItsUser) {
  const std::string folder = machine_.folder() + "/private";
  std::filesystem::create_directory(folder);
  const std::string file = folder + "/file";
  std::ofstream(file) << "of others\n";
  ASSERT_EQ(chmod(file.c_str(), 0666), 0);
  ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
  program::run(with_capabilities(
      {"-c", "1", "-w", "bspin", "-f", "10", "-m", "-k", "TC0D", "-o", file, "-t", "1"}));
  std::ifstream in(file);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "of others\n");
}

TEST_F(LinuxRights, ReadsTheCountersThatItWasGivenTheRightTo) {
  const Outcome outcome = program::run(with_capabilities(
      {"-c", "1", "-w", "bspin", "-f", "10", "-m", "-r", "20", "-k", "PC0C", "-t", "1"}));
  EXPECT_EQ(program::without_lateness(outcome.err), "");
  EXPECT_GT(parse_samples(outcome.out).size(), 5U);
}

TEST_F(LinuxRights, NoThreadHasAnyOnceTheLoadRuns) {
  Running running(
      with_capabilities({"-c", "2", "-w", "bspin", "-f", "10", "-m", "-r", "20", "-k", "PC0C"}));
  ASSERT_TRUE(comes_to([&] { return running.out().size() > 100; }));
  // main, listener, throttle guard, monitor, disk commit, timing, and two workloads
  const auto nobody_has_any = [&] {
    const std::vector<Thread> threads = threads_of(running.pid());
    return threads.size() >= 8 &&
           std::all_of(threads.begin(), threads.end(), [](const Thread& thread) {
             return thread.effective == 0 && thread.permitted == 0;
           });
  };
  EXPECT_TRUE(comes_to(nobody_has_any));
  running.send(SIGINT);
  EXPECT_EQ(running.wait().status, 0);
}

TEST_F(LinuxRights, NoThreadOfTheEngineHasAnyOnceTheLoadRuns) {
  std::array<int, 2> input{};
  ASSERT_EQ(pipe2(input.data(), O_CLOEXEC), 0);
  program::Command command =
      engine({"-c", "1", "-w", "bspin", "-f", "10", "-m", "-r", "20", "-k", "PC0C", "--limit",
              "TC0D=120", "--attached", "--record", machine_.folder() + "/record"},
             As::kOrdinaryUser);
  command.standard_input = input[0];
  ASSERT_EQ(chmod(machine_.folder().c_str(), 0777), 0);
  Running running(with_capabilities(command));
  ASSERT_TRUE(comes_to([&] { return running.out().size() > 100; })) << running.err();
  // main, listener, throttle guard, monitor, disk commit, timing, limit, input, record, a workload
  const auto nobody_has_any = [&] {
    const std::vector<Thread> threads = threads_of(running.pid());
    return threads.size() >= 10 &&
           std::all_of(threads.begin(), threads.end(), [](const Thread& thread) {
             return thread.effective == 0 && thread.permitted == 0;
           });
  };
  EXPECT_TRUE(comes_to(nobody_has_any)) << threads_of(running.pid()).size();
  running.send(SIGINT);
  running.wait();
  for (const int end : input) {
    close(end);
  }
}

TEST_F(LinuxRights, NoneIsEffectiveBeforeThatButForAMoment) {
  Running running(with_capabilities({"-c", "1", "-w", "bspin", "-f", "10", "-m", "-k", "PC0C"}));
  ASSERT_TRUE(running.wait_until_catching());
  for (int looks = 0; looks < 100; ++looks) {  // the monitor's head start is half a second
    for (const Thread& thread : threads_of(running.pid())) {
      EXPECT_EQ(thread.effective & ~std::uint64_t{kAdvised}, 0U) << thread.name;
      EXPECT_EQ(thread.permitted & ~std::uint64_t{kAdvised}, 0U) << thread.name;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  running.send(SIGINT);
  EXPECT_EQ(running.wait().status, 0);
}

TEST_F(LinuxRights, OfASetUserIdProgramOneThreadAloneIsRaisedAndThatForAMoment) {
  Running running(set_user_id({"-c", "2", "-w", "bspin", "-f", "10", "-s", "1500", "-F", "4", "-p",
                               "3", "-m", "-k", "F0Ac"}));
  ASSERT_TRUE(running.wait_until_catching());
  std::size_t most_raised = 0;
  const auto raised = [&] {
    std::size_t count = 0;
    for (const Thread& thread : threads_of(running.pid())) {
      count += thread.effective_user == 0 ? 1U : 0U;
    }
    most_raised = std::max(most_raised, count);
    return count;
  };
  ASSERT_TRUE(comes_to([&] {
    raised();
    return machine_.tree().left_to_give_back().find("scaling_max_freq") != std::string::npos;
  }));
  ASSERT_TRUE(comes_to([&] { return running.out().size() > 10; }));
  for (int looks = 0; looks < 200; ++looks) {  // through steps of the fan wave
    EXPECT_EQ(raised(), 0U);
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
  }
  running.send(SIGINT);
  while (running.send(0) && running.err().find("Fans restored") == std::string::npos) {
    raised();
  }
  EXPECT_EQ(running.wait().status, 0);
  // The one that changes something, and one that it waits for: that makes the first access to an
  // attribute for it, or is being started and lowers itself first of all.
  EXPECT_LE(most_raised, 2U);
}

TEST_F(LinuxRights, WhatAHostileCallerLeavesOutChangesNothing) {
  program::Command command =
      set_user_id({"-c", "1", "-w", "bspin", "-f", "10", "-s", "1500", "-t", "1"});
  command.closed = {0, 1, 2};
  command.ignored_signals = {SIGCHLD, SIGTERM, SIGHUP};
  command.called.clear();
  const auto before = machine_.tree().snapshot();
  const Outcome outcome = program::run(command);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(machine_.tree().snapshot(), before);
  EXPECT_EQ(machine_.tree().left_to_give_back(), "");
}

// Set-user-id programs have been attacked so. Kernels since 5.18 put an empty name there, others
// leave nothing: it is a run without options, which forces fans and P-state.
TEST_F(LinuxRights, AnEmptyArgvIsARunWithoutOptionsThatGivesBack) {
  const auto before = machine_.tree().snapshot();
  program::Command command = set_user_id({});
  command.empty_argv = true;
  command.one_processor = true;
  Running running(command);
  const std::string mode = "devices/platform/nct6775.656/hwmon/hwmon3/pwm2_enable";
  ASSERT_TRUE(comes_to([&] { return machine_.tree().snapshot().at(mode) != before.at(mode); }))
      << running.err();
  running.send(SIGINT);
  const Outcome outcome = running.wait();
  EXPECT_EQ(outcome.err, kBothRestored);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(machine_.tree().snapshot(), before);
  EXPECT_EQ(machine_.tree().left_to_give_back(), "");
}

}  // namespace
