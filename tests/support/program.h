#pragma once

#include <sys/resource.h>
#include <sys/types.h>
#include <atomic>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/sanitized.h"

/// Runs a built program as a process, as a user would: with a clean environment, as a chosen user
/// and with chosen rights.
namespace program {

/// The programs are built like the tests.
using ::kSanitized;
using ::kThreadSanitized;

enum class As {
  kOrdinaryUser,           ///< no rights at all
  kUserWithFixedPriority,  ///< an ordinary user with the one right to fixed priorities
  kRoot,                   ///< whoever the tests run as; the tests skip unless that is root
};

/// A system call that fails in the program: by number, and by its first argument if given.
struct RefusedCall {
  int number;
  std::optional<unsigned> first_argument;
  int error = EPERM;
};

struct Command {
  std::string path;
  std::vector<std::string> arguments;
  As as = As::kUserWithFixedPriority;
  std::optional<rlim_t> fixed_priority_limit;  ///< RLIMIT_RTPRIO, in place of the right
  std::optional<rlim_t> process_limit;         ///< RLIMIT_NPROC; counts threads
  std::vector<RefusedCall> refused;            ///< through a system call filter
  std::vector<int> ignored_signals;            ///< ignored from the start
  std::vector<int> closed;                     ///< descriptors that are closed from the start
  bool one_processor = false;                  ///< it may run on the first one alone
  std::string standard_output;                 ///< a path; empty: captured
  int standard_input = -1;                     ///< a descriptor; -1: nothing to read
  int standard_error = -1;                     ///< a descriptor; -1: captured
  std::string called = "vorn";                 ///< argv[0]
  bool empty_argv = false;                     ///< not even argv[0], and no arguments
  std::vector<std::string> environment;        ///< NAME=value; else it is empty
};

struct Outcome {
  std::string out;
  std::string err;
  int status = -1;  ///< exit status, or -1
  int signal = 0;   ///< the signal that killed it, or 0
  bool timed_out = false;
  double seconds = 0.0;  ///< from start to end
};

/// A program that runs. Killed when destroyed.
class Running {
 public:
  explicit Running(const Command& command);
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;
  ~Running();

  pid_t pid() const { return pid_; }

  /// Sends `signo`; false if the program has ended.
  bool send(int signo) const;

  /// Whether the program has a handler for `signo` by now.
  bool catches(int signo) const;

  /// Waits until the program catches SIGINT, or `limit` seconds: on a busy machine it may take long
  /// to start.
  bool wait_until_catching(double limit = 100.0) const;

  /// What the program has printed so far.
  std::string out() const;
  std::string err() const;

  /// Waits for the end, at most `limit` seconds; then kills it and says so.
  Outcome wait(double limit = 100.0);

 private:
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
  using Clock = std::chrono::steady_clock;

  File out_;
  File err_;
  std::atomic<pid_t> pid_ = -1;  // tests send signals from threads of their own
  Clock::time_point started_;
};

/// What a run printed, but for the notes that samples were late, left out or begun late, as they
/// may be on a busy machine.
std::string without_lateness(const std::string& err);

/// Runs `command` to its end.
Outcome run(const Command& command, double limit = 100.0);

/// Whether this process may start programs as `as`; if not, `why` says what is lacking.
bool may_run(As as, std::string& why);

/// Whether this process may raise its own limits, as a Command with a limit needs.
bool may_raise_limits();

}  // namespace program

/// Skips the test unless programs may be started as `as` here.
#define SKIP_UNLESS_MAY_RUN(as)                      \
  if (std::string why; !program::may_run(as, why)) { \
    GTEST_SKIP() << why;                             \
  }                                                  \
  static_assert(true)
