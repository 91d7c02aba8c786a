#include "machines/linux/guardian/guardian.h"

#include <pthread.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>

#include "Process/thread_user.h"
#include "machines/linux/guardian/apart.h"
#include "machines/linux/guardian/guardian_process.h"
#include "machines/linux/guardian/message.h"

namespace linux_machine {
namespace {

using sysfs::Failure;
using sysfs::Result;

constexpr int kReadyPatienceMs = 5000;

/// Forks twice, so that the guardian is no child of the run and nobody has to wait for it. Both
/// children leave the caller's reach first, since a signal of his may come at any time. Whether the
/// guardian was started is for its own word to say: with SIGCHLD ignored, there is no status.
/// Returns 0, or an errno value if not even the first fork was possible.
int fork_guardian(const Birth& birth) {
  const pid_t between = fork();
  if (between < 0) {
    return errno;
  }
  if (between == 0) {
    take_away_from_caller();
    setsid();
    if (fork() == 0) {
      guard(birth);
    }
    _exit(EXIT_SUCCESS);
  }
  return 0;
}

/// What the guardian said first: nothing, or why it does not guard.
std::optional<Failure> wait_until_ready(int socket, const std::string& part) {
  wait_for_message(socket, kReadyPatienceMs);
  const std::string action = "starting the guardian of the " + part;
  Message message;
  switch (receive_message(socket, message)) {
    case Heard::message:
      if (message.word == Word::ready) {
        return std::nullopt;
      }
      return Failure{sysfs::Trouble::refused,
                     action + ": " + std::string(message.text()) +
                         ", by which its caller could stop it; only root itself may change the " +
                         part + " here"};
    case Heard::end:
      return Failure{sysfs::Trouble::refused, action + ": it was ended before it was ready"};
    case Heard::nothing:
      break;
  }
  return Failure{sysfs::Trouble::refused, action + ": it does not answer"};
}

/// Signals are for the threads that listen for them.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

Result<std::unique_ptr<Guardian>> Guardian::start(const Surroundings& surroundings,
                                                  const std::string& part, const StateFile& state) {
  const std::string starting = "starting the guardian of the";
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    return sysfs::failure(starting.c_str(), part, errno);
  }
  const std::vector<GroupHierarchy> hierarchies = mounted_group_hierarchies();
  int error = 0;
  {
    // In the children as well, from their first moment.
    const SignalsBlocked blocked;
    error = fork_guardian({.surroundings = surroundings,
                           .part = part.c_str(),
                           .hierarchies = hierarchies,
                           .of_root = getuid() == 0,
                           .socket = ends[0],
                           .state = state.descriptor()});
  }
  close(ends[0]);
  std::optional<Failure> failed =
      error != 0 ? sysfs::failure(starting.c_str(), part, error) : wait_until_ready(ends[1], part);
  if (failed) {
    close(ends[1]);
    return *std::move(failed);
  }
  return std::unique_ptr<Guardian>(new Guardian(ends[1]));
}

/// Waits until the pulse has the user's id: no two threads of a process are raised at once.
Guardian::Guardian(int socket) : socket_(socket), pulse_([this] { exchange_signs_of_life(); }) {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return pulse_begun_; });
}

Guardian::~Guardian() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stops_ = true;
    changed_.notify_all();
  }
  pulse_.join();
  close(socket_);
}

std::optional<Guardian::End> Guardian::end() {
  const std::lock_guard<std::mutex> lock(mutex_);
  hear();
  return end_;
}

bool Guardian::watch_temperature(std::string_view attribute, double critical_c) {
  constexpr double kPerDegree = 1000;
  return send_message(socket_, Word::temperature, std::llround(critical_c * kPerDegree), attribute);
}

bool Guardian::watch_fan(std::string_view attribute, bool slow, std::int64_t turns_from_ns) {
  return send_message(socket_, slow ? Word::slow_fan : Word::fan, turns_from_ns, attribute);
}

void Guardian::forget_fan(std::string_view attribute) {
  send_message(socket_, Word::forget_fan, 0, attribute);
}

/// The body of the pulse thread. Its creator may run with a raised user id.
void Guardian::exchange_signs_of_life() {
  const bool lowered = process::set_thread_effective_user(getuid()) == 0;
  pthread_setname_np(pthread_self(), "vorn-pulse");
  std::unique_lock<std::mutex> lock(mutex_);
  pulse_begun_ = true;
  changed_.notify_all();
  if (!lowered) {
    end_ = End{.gave_back = false, .reason = "its signs of life cannot be sent without privilege"};
  }
  while (!stops_ && !end_) {
    send_message(socket_, Word::alive);
    changed_.wait_for(lock, std::chrono::milliseconds(kRoundMs), [this] { return stops_; });
    ++silent_rounds_;
    hear();
    if (!end_ && silent_rounds_ >= kSilentRounds) {
      end_ = End{.gave_back = false, .reason = "their guardian has shown no sign of life for 2 s"};
    }
  }
  changed_.wait(lock, [this] { return stops_; });  // it lives as long as its owner
}

void Guardian::hear() {
  for (Message message; !end_;) {
    switch (receive_message(socket_, message)) {
      case Heard::nothing:
        return;
      case Heard::end:
        end_ = End{.gave_back = false, .reason = "their guardian has been ended"};
        return;
      case Heard::message:
        silent_rounds_ = 0;
        if (message.word == Word::given_back) {
          end_ = End{.gave_back = true, .reason = std::string(message.text())};
        }
        break;
    }
  }
}

}  // namespace linux_machine
