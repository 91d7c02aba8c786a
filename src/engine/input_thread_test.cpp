#include "engine/input_thread.h"

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <string_view>
#include <thread>

#include "engine/forcing.h"
#include "engine/waveforms/steered.h"
#include "support/fake_host.h"
#include "support/machine_fixture.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"
#include "vorn/workload_threads.h"

namespace engine {
namespace {

std::atomic<bool> run_ended{false};

void note_end(int /*signo*/) {
  run_ended = true;
}

constexpr double kCarrier = 10.0;
constexpr std::int64_t kPeriod = 100000000;  // ns

/// A pipe in place of standard input.
class InputThread : public MachineFixture {
 protected:
  InputThread() : former_input_(dup(STDIN_FILENO)) {
    run_ended = false;
    former_ = std::signal(SIGINT, note_end);
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    use_as_input(ends[0]);
    writer_ = ends[1];
    source_.next_ns();
    source_.next_ns();  // it waits for the first period
  }
  ~InputThread() override {
    end();
    close_input();
    dup2(former_input_, STDIN_FILENO);
    close(former_input_);
    std::signal(SIGINT, former_);
  }

  static void use_as_input(int descriptor) {
    dup2(descriptor, STDIN_FILENO);
    close(descriptor);
  }

  void write_to_input(std::string_view text) const {
    ASSERT_EQ(write(writer_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  void close_input() {
    if (writer_ >= 0) {
      close(writer_);
      writer_ = -1;
    }
  }

  static void end() {
    params.terminate = true;
    end_run_sleeps();
    end_input();
  }

  /// Waits until the run is ended. False after ten seconds.
  static bool ends() {
    for (int tries = 0; tries < 10000 && !run_ended; ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return run_ended;
  }

  /// The on part of the next period in ns, once it is that of `duty`; else the last one seen.
  std::int64_t comes_to(std::int64_t on_ns) {
    std::int64_t seen = -1;
    for (int tries = 0; tries < 10000 && seen != on_ns; ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      const bool on = source_.ends_in_edge();
      const auto first = source_.next_ns();
      if (!first) {
        return -2;  // over
      }
      seen = on ? *first : 0;
      if (on && *first < kPeriod) {
        source_.next_ns();
      }
    }
    return seen;
  }

  SteeredSource source_{kCarrier};
  int writer_ = -1;

 private:
  const int former_input_;
  void (*former_)(int);
};

TEST_F(InputThread, SaysTheLinesToTheWaveform) {
  ASSERT_EQ(spawn_input(&source_, kCarrier, {}), 0);
  write_to_input("duty 0.25\n");
  EXPECT_EQ(comes_to(kPeriod / 4), kPeriod / 4);
  write_to_input("\nduty 0.9\nduty 0.");
  EXPECT_EQ(comes_to(kPeriod / 10 * 9), kPeriod / 10 * 9);
  write_to_input("75\n");
  EXPECT_EQ(comes_to(kPeriod / 4 * 3), kPeriod / 4 * 3);
  write_to_input("end\n");
  EXPECT_EQ(comes_to(-2), -2);
  EXPECT_FALSE(run_ended);
}

TEST_F(InputThread, ComplainsAboutALineThatItDoesNotUnderstandAndGoesOn) {
  testing::internal::CaptureStderr();
  ASSERT_EQ(spawn_input(&source_, kCarrier, {}), 0);
  write_to_input("duty 0.5\nduty 2\nsinusoid 6 0 1\nduty 0.25\n");
  EXPECT_EQ(comes_to(kPeriod / 4), kPeriod / 4);
  const std::string name(program_invocation_short_name);
  const std::string taken =
      "; it takes \"fans RPM\", \"fan KEY RPM\", \"pstate P\", \"duty D\", \"sinusoid HZ OFFSET "
      "DEPTH\", \"triangle HZ OFFSET DEPTH\", "
      "\"sines MEAN HZ AMPLITUDE DEGREES ...\" or \"end\"\n";
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            name + ": standard input \"duty 2\": \"2\" is not a duty from 0 to 1" + taken + name +
                ": standard input \"sinusoid 6 0 1\": \"6\" Hz is above half of --frequency, "
                "which cannot show it" +
                taken);
  EXPECT_FALSE(run_ended);
}

TEST_F(InputThread, RefusesToForceWhatTheRunLeavesAlone) {
  testing::internal::CaptureStderr();
  ASSERT_EQ(spawn_input(&source_, kCarrier, {}), 0);
  write_to_input("fans 800\nduty 0.25\n");
  EXPECT_EQ(comes_to(kPeriod / 4), kPeriod / 4);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("\"fans 800\": the run holds no fan"),
            std::string::npos);
  EXPECT_TRUE(controller->requests().empty());
}

TEST_F(InputThread, EndsTheRunWhenTheInputEnds) {
  ASSERT_EQ(spawn_input(&source_, kCarrier, {}), 0);
  EXPECT_FALSE(input_ended_run());
  close_input();
  EXPECT_TRUE(ends());
  EXPECT_TRUE(input_ended_run());
}

TEST_F(InputThread, EndsTheRunWhenTheInputEndsThatNobodyReads) {
  ASSERT_EQ(spawn_input(nullptr, 0.0, {}), 0);
  write_to_input("something\n");
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(run_ended);
  close_input();
  EXPECT_TRUE(ends());
  EXPECT_TRUE(input_ended_run());
}

TEST_F(InputThread, EndsTheRunWhenTheInputFails) {
  use_as_input(open("/", O_RDONLY | O_CLOEXEC));  // a folder, which cannot be read
  ASSERT_EQ(spawn_input(nullptr, 0.0, {}), 0);
  EXPECT_TRUE(ends());
}

TEST_F(InputThread, BehindTheWordTheEndOfTheInputIsNotWaitedFor) {
  ASSERT_EQ(spawn_input(&source_, kCarrier, {}), 0);
  write_to_input("end\n");
  close_input();
  EXPECT_EQ(comes_to(-2), -2);
  input_thread.join();
  EXPECT_FALSE(input_ended_run());
}

TEST_F(InputThread, LeavesATerminalAloneUntilItHangsUp) {
  int keyboard = -1;
  int terminal = -1;
  ASSERT_EQ(openpty(&keyboard, &terminal, nullptr, nullptr, nullptr), 0);
  use_as_input(terminal);
  ASSERT_EQ(spawn_input(nullptr, 0.0, {}), 0);
  ASSERT_EQ(write(keyboard, "typed\n", 6), 6);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(run_ended);
  fcntl(STDIN_FILENO, F_SETFL, O_RDONLY | O_NONBLOCK);
  char typed[16] = {};
  EXPECT_EQ(read(STDIN_FILENO, typed, sizeof typed), 6);
  EXPECT_EQ(std::string_view(typed), "typed\n");
  close(keyboard);
  EXPECT_TRUE(ends());
}

TEST_F(InputThread, StandsBetweenTheLoadAndTheThreadsThatAreOnTime) {
  threads_beside = true;
  EXPECT_LT(input_thread_priority(), timing_thread_priority());
  EXPECT_LT(input_thread_priority(), monitor_thread_priority());
  EXPECT_GT(input_thread_priority(), workload_thread_priority());
}

TEST_F(InputThread, IsNotStartedWithoutARightToItsPriority) {
  fake_host::state().priority_result = EPERM;
  EXPECT_EQ(spawn_input(nullptr, 0.0, {}), -1);
}

}  // namespace
}  // namespace engine
