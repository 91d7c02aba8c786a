#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Assertion/assertion.h"
#include "program/vorn_program.h"
#include "vorn/uncaught.h"

// A process that has said why it ends is to end, whatever load its own threads make.

namespace {

using program::As;
using Clock = std::chrono::steady_clock;

constexpr int kWorkloadPriority = 63;
constexpr unsigned kGivesUp = 20;  // seconds: the kernel then ends a process that should have ended

void take_priority(int priority) {
  sched_param param{};
  param.sched_priority = priority;
  if (pthread_setschedparam(pthread_self(), SCHED_FIFO, &param) != 0) {
    _exit(1);
  }
}

/// Whether a thread of this process sleeps in the kernel.
bool sleeps(pid_t thread) {
  std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string id;
  std::string name;
  std::string state;
  stat >> id >> name >> state;
  return state == "S";
}

/// What the process and its parent share.
struct Progress {
  std::atomic<int> spinning{0};
};

/// A process whose thread of fixed priority 63 runs `last_words`, which print and abort. The print
/// waits for a reader, and meanwhile as many threads of the load as `load` says have started: they
/// begin with the priority of their creator, 64, and go on with 63, or stay above it.
class Aborting {
 public:
  struct Load {
    unsigned threads = 0;
    int priority = kWorkloadPriority;
    std::optional<rlim_t> limit;  ///< RLIMIT_RTPRIO of an ordinary user; none: all rights
  };

  Aborting(void (*last_words)(), const Load& load) {
    void* const shared =
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED || pipe(pipe_.data()) != 0) {
      throw std::runtime_error("no pipe");
    }
    progress_ = new (shared) Progress;
    pid_ = fork();
    if (pid_ == 0) {
      abort_under(load, last_words);
    }
    close(pipe_[1]);
    while (progress_->spinning < static_cast<int>(load.threads) && !has_ended()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  Aborting(const Aborting&) = delete;
  Aborting& operator=(const Aborting&) = delete;
  ~Aborting() {
    close(pipe_[0]);
    munmap(progress_, sizeof(Progress));
  }

  /// Reads what the process prints until it ends. Returns the seconds that took.
  double read_to_the_end() {
    const Clock::time_point start = Clock::now();
    std::array<char, 4096> block{};
    for (ssize_t got; (got = read(pipe_[0], block.data(), block.size())) > 0;) {
      text_.append(block.data(), static_cast<std::size_t>(got));
    }
    waitpid(pid_, &status_, 0);
    return std::chrono::duration<double>(Clock::now() - start).count();
  }

  int signal() const { return WIFSIGNALED(status_) ? WTERMSIG(status_) : 0; }
  std::string text() const { return text_.substr(text_.find_first_not_of('.')); }

 private:
  bool has_ended() const {
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT);
    return info.si_pid != 0;
  }

  // In the child, after fork.
  [[noreturn]] void abort_under(const Load& load, void (*last_words)()) {
    alarm(kGivesUp);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    if (load.limit) {
      constexpr uid_t kOrdinaryUser = 64321;
      const rlimit both{*load.limit, *load.limit};
      if (setrlimit(RLIMIT_RTPRIO, &both) != 0 ||
          setresuid(kOrdinaryUser, kOrdinaryUser, kOrdinaryUser) != 0) {
        _exit(1);
      }
    }
    fill_standard_error();
    take_priority(kWorkloadPriority + 1);
    std::atomic<pid_t> aborting{0};
    std::thread service([&] {
      take_priority(kWorkloadPriority);
      aborting = gettid();
      last_words();
    });
    while (aborting == 0 || !sleeps(aborting)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::vector<std::thread> workloads;
    for (unsigned i = 0; i < load.threads; ++i) {
      workloads.emplace_back([this, &load] {
        take_priority(load.priority);
        ++progress_->spinning;
        for (;;) {
        }
      });
    }
    for (;;) {
      pause();
    }
  }

  void fill_standard_error() {
    dup2(pipe_[1], STDERR_FILENO);
    close(pipe_[0]);
    const std::string dots(4096, '.');
    for (pollfd room{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
         poll(&room, 1, 0) == 1;) {
      [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, dots.data(), dots.size());
    }
  }

  std::array<int, 2> pipe_{};
  Progress* progress_ = nullptr;
  pid_t pid_ = -1;
  int status_ = 0;
  std::string text_;
};

void fail_an_assertion() {
  assertion(false, "false", "tests");
}

void throw_what_nobody_catches() {
  explain_uncaught_exceptions();
  throw std::string("text");
}

/// How soon a process ends that aborts under `load`: the best of a few, for a machine that is busy
/// with other things. Every one must end by its abort, with its text whole.
double seconds_to_the_end(void (*last_words)(), const Aborting::Load& load,
                          const std::string& text) {
  constexpr int kTimes = 5;
  double best = kGivesUp;
  for (int i = 0; i < kTimes; ++i) {
    Aborting aborting(last_words, load);
    best = std::min(best, aborting.read_to_the_end());
    EXPECT_EQ(aborting.signal(), SIGABRT);
    EXPECT_NE(aborting.text().find(text), std::string::npos) << aborting.text();
    if (testing::Test::HasFailure()) {
      break;  // each one takes until its alarm
    }
  }
  return best;
}

class Abort : public testing::Test {
 protected:
  void SetUp() override { SKIP_UNLESS_MAY_RUN(As::kRoot); }

  /// Expects the end under `load` nearly as soon as without it.
  static void expect_soon(void (*last_words)(), const Aborting::Load& load,
                          const std::string& text) {
    const double alone = seconds_to_the_end(last_words, {.limit = load.limit}, text);
    const double loaded = seconds_to_the_end(last_words, load, text);
    std::printf("from the text to the end: alone %.2f ms, under load %.2f ms\n", alone * 1e3,
                loaded * 1e3);
    constexpr double kThrottled = 0.05;  // of each second, in which no fixed priority runs
    EXPECT_LT(loaded, 10 * alone + kThrottled);
  }

  const unsigned everywhere_ = std::thread::hardware_concurrency();
};

TEST_F(Abort, OfAnAssertionIsNotHeldUpByTheLoad) {
  expect_soon(fail_an_assertion, {.threads = everywhere_, .priority = 63, .limit = {}},
              "(false), function fail_an_assertion");
}

TEST_F(Abort, OfAnAssertionIsNotHeldUpByALoadAboveIt) {
  expect_soon(fail_an_assertion, {.threads = everywhere_, .priority = 64, .limit = {}},
              "(false), function fail_an_assertion");
}

TEST_F(Abort, OfAnAssertionIsNotHeldUpWhereTheLimitIsWhatARunNeeds) {
  if (!program::may_raise_limits()) {
    GTEST_SKIP() << "needs the right to raise limits";
  }
  expect_soon(fail_an_assertion, {.threads = everywhere_, .priority = 63, .limit = 64},
              "(false), function fail_an_assertion");
}

TEST_F(Abort, OfAnUncaughtExceptionIsNotHeldUpByTheLoad) {
  expect_soon(throw_what_nobody_catches, {.threads = everywhere_, .priority = 64, .limit = {}},
              "terminate called");
}

const std::vector<std::string> kNoSpeed = {"-F", "1", "-s", "0", "-t", "10"};

/// Expects the end long before the one of the run, which would make way for the abort.
void expect_soon_without_speed(const program::Command& command) {
  const program::Outcome outcome = program::run(command);
  ASSERT_EQ(outcome.signal, SIGABRT);
  ASSERT_LT(outcome.seconds, 5.0);
  ASSERT_NE(outcome.err.find("Assertion failed: (setting_fans())"), std::string::npos);
}

// The workload threads begin above the thread that fails.
TEST_F(Abort, EndsEveryRunWhoseFanThreadHasNoSpeed) {
  for (int i = 0; i < 20; ++i) {
    expect_soon_without_speed(vorn(kNoSpeed));
  }
}

TEST_F(Abort, EndsEveryRunOnOneProcessorWhoseFanThreadHasNoSpeed) {
  program::Command command = vorn(kNoSpeed);
  command.one_processor = true;
  for (int i = 0; i < 5; ++i) {
    expect_soon_without_speed(command);
  }
}

}  // namespace
