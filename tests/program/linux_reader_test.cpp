#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

#include "program/tree_machine.h"
#include "program/vorn_program.h"

// Runs whose standard error is full: nothing on the way out waits for whoever should read it.

namespace {

using program::As;
using program::Outcome;
using program::Running;
using Clock = std::chrono::steady_clock;

/// A pipe that has no room left until somebody reads it.
class FullPipe {
 public:
  FullPipe() {
    if (pipe2(ends_.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
      throw std::runtime_error("no pipe");
    }
    fcntl(ends_[1], F_SETPIPE_SZ, 1);  // the least there is
    while (write(ends_[1], &kFiller, 1) == 1) {
    }
    fcntl(ends_[1], F_SETFL, 0);  // whoever writes from here on waits
  }
  FullPipe(const FullPipe&) = delete;
  FullPipe& operator=(const FullPipe&) = delete;
  ~FullPipe() {
    close(ends_[0]);
    close(ends_[1]);
  }

  int to_write() const { return ends_[1]; }

  /// Empties the pipe. Returns what stood there behind that which filled it.
  std::string read_all() const {
    std::string text;
    std::array<char, 4096> block{};
    for (ssize_t got; (got = read(ends_[0], block.data(), block.size())) > 0;) {
      text.append(block.data(), static_cast<std::size_t>(got));
    }
    text.erase(0, text.find_first_not_of(kFiller));
    return text;
  }

 private:
  static constexpr char kFiller = '.';

  std::array<int, 2> ends_{-1, -1};
};

/// Whether a thread of the process `pid` has root's effective id.
bool has_raised_its_id(pid_t pid) {
  std::error_code gone;
  const std::filesystem::directory_iterator tasks("/proc/" + std::to_string(pid) + "/task", gone);
  return std::any_of(begin(tasks), end(tasks), [](const auto& task) {
    std::ifstream in(task.path() / "status");
    for (std::string line; std::getline(in, line);) {
      std::istringstream words(line);
      std::string field;
      long real = -1;
      long effective = -1;
      if (words >> field >> real >> effective && field == "Uid:") {
        return effective == 0;
      }
    }
    return false;
  });
}

bool wait_until(const std::function<bool()>& happened) {
  for (int tries = 0; tries < 8000 && !happened(); ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return happened();
}

class LinuxReader : public testing::Test {
 protected:
  void SetUp() override {
    SKIP_UNLESS_MAY_RUN(As::kRoot);
    machine_.tree().keep_curves();
    before_ = machine_.tree().snapshot();
    if (!program::kSanitized) {  // whose runtimes refuse to run set-user-id
      make_set_user_id_copy();
    }
  }

  /// A run that forces both, with the raised id of a set-user-id file where that is to be had.
  program::Command fans_and_pstate(std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments{"-c", "1",  "-w",   "bspin", "-f",
                                       "10", "-s", "1500", "-p",    "3"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    program::Command command = machine_.vorn(std::move(arguments));
    if (!copy_.empty()) {
      command.path = copy_;
      command.as = As::kOrdinaryUser;
    }
    return command;
  }

  /// From an interrupt until all is given back and the id is lowered. The process ends in order.
  Clock::duration time_to_give_back(const program::Command& command) {
    Running running(command);
    EXPECT_TRUE(is_forced());
    const Clock::time_point interrupted = Clock::now();
    running.send(SIGINT);
    EXPECT_TRUE(is_given_back()) << machine_.tree().left_to_give_back();
    EXPECT_TRUE(is_lowered(running));
    const Clock::duration taken = Clock::now() - interrupted;
    EXPECT_EQ(running.wait().status, 0);
    return taken;
  }

  bool is_forced() {
    return wait_until([this] {
      const auto now = machine_.tree().snapshot();
      return now.at("devices/platform/nct6775.656/hwmon/hwmon3/pwm2_enable") == "1" &&
             now.at("devices/system/cpu/cpufreq/policy0/scaling_max_freq") == "3400000";
    });
  }
  bool is_given_back() {
    return wait_until([this] {
      return machine_.tree().left_to_give_back().empty() && machine_.tree().snapshot() == before_;
    });
  }
  bool is_lowered(const Running& running) const {
    return copy_.empty() || wait_until([&] { return !has_raised_its_id(running.pid()); });
  }

  TreeMachine machine_{"two_socket_intel"};
  std::map<std::string, std::string> before_;

 private:
  void make_set_user_id_copy() {
    copy_ = machine_.folder() + "/vorn";
    std::filesystem::copy_file(VORN_ON_TREE_PROGRAM, copy_);
    ASSERT_EQ(chmod(copy_.c_str(), 04755), 0);
    // The machine of files keeps its state by opening files anew, with the rights of that moment.
    for (const auto& file :
         std::filesystem::recursive_directory_iterator(machine_.folder() + "/sys")) {
      if (file.is_regular_file() && !file.is_symlink()) {
        std::filesystem::permissions(file, std::filesystem::perms::others_write,
                                     std::filesystem::perm_options::add);
      }
    }
  }

  std::string copy_;
};

// Half of the time that a text is given: whoever waits for a reader first takes longer.
TEST_F(LinuxReader, WhoNeverReadsKeepsNothingForcedAfterAnInterrupt) {
  constexpr std::chrono::milliseconds kNoWait(500);
  Clock::duration read = std::chrono::hours(1);
  Clock::duration unread = std::chrono::hours(2);
  for (int tries = 0; tries < 5 && unread > read + kNoWait; ++tries) {  // others load the machine
    program::Command command = fans_and_pstate();
    read = std::min(read, time_to_give_back(command));
    const FullPipe nobody_reads;
    command.standard_error = nobody_reads.to_write();
    unread = std::min(unread, time_to_give_back(command));
    EXPECT_EQ(nobody_reads.read_all(), "") << "the pipe was not full";
  }
  EXPECT_LE(unread - read, kNoWait);
}

TEST_F(LinuxReader, WhoNeverReadsKeepsNothingForcedAfterTheRunTime) {
  const FullPipe nobody_reads;
  program::Command command = fans_and_pstate({"-t", "2"});
  command.standard_error = nobody_reads.to_write();
  Running running(command);
  ASSERT_TRUE(is_forced());
  ASSERT_TRUE(is_given_back()) << machine_.tree().left_to_give_back();
  ASSERT_TRUE(is_lowered(running));
  EXPECT_EQ(running.wait().status, 0);
  EXPECT_EQ(nobody_reads.read_all(), "") << "the pipe was not full";
}

// Begins to read when all is given back: texts from before that are not there any more, or have
// kept the run from giving back.
TEST_F(LinuxReader, WhoReadsLateIsToldOfAllInOrder) {
  for (const bool interrupted : {true, false}) {
    std::string said;
    for (int tries = 0; tries < 5 && said.empty(); ++tries) {  // a busy machine may be later still
      const FullPipe read_late;
      program::Command command = fans_and_pstate();
      if (!interrupted) {
        command.arguments.insert(command.arguments.end(), {"-t", "2"});
      }
      command.standard_error = read_late.to_write();
      Running running(command);
      ASSERT_TRUE(is_forced());
      if (interrupted) {
        running.send(SIGINT);
      }
      ASSERT_TRUE(is_given_back()) << machine_.tree().left_to_give_back();
      ASSERT_TRUE(is_lowered(running));
      read_late.read_all();
      EXPECT_EQ(running.wait().status, 0);
      said = read_late.read_all();
    }
    EXPECT_EQ(said, kBothRestored);
  }
}

}  // namespace
