#include "machines/linux/sysfs/patience.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <semaphore>
#include <system_error>
#include <thread>
#include <utility>

#include "Process/thread_user.h"

namespace sysfs {
namespace {

/// Work that one thread does and another waits for; both own it.
struct Call {
  enum class State { under_way, finished, given_up };

  std::function<ssize_t()> work;
  std::function<void(ssize_t)> late;
  bool lowers = false;  ///< the thread has inherited a user id that the work is not to have
  ssize_t result = 0;
  std::atomic<State> state{State::under_way};
  std::binary_semaphore finished{0};

  void run() {
    const bool lowered = !lowers || process::set_thread_effective_user(getuid()) == 0;
    result = lowered ? work() : -errno;
    if (state.exchange(State::finished) == State::given_up) {
      if (late) {
        late(result);
      }
      return;
    }
    finished.release();
  }
};

/// A thread that takes no signal from those that wait for one.
std::thread start(const std::shared_ptr<Call>& call) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread;
  try {
    thread = std::thread([call] { call->run(); });
  } catch (const std::system_error&) {
    // None to be had: the caller does the work himself.
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

std::string folder_of(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

}  // namespace

bool Patience::has_answered(const std::string& path) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return answered_.contains(path);
}

std::string Patience::why_not(const std::string& path) {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const std::string& silent : silent_) {
    if (folder_of(silent) == folder_of(path)) {
      return silent == path ? given_up() : "not asked, since " + silent + " gave " + given_up();
    }
  }
  return {};
}

std::optional<ssize_t> Patience::wait_for(const std::string& path, Answers answers, Rights rights,
                                          std::function<ssize_t()> work,
                                          std::function<void(ssize_t)> late) {
  const auto call = std::make_shared<Call>();
  call->work = std::move(work);
  call->lowers = rights == Rights::of_user && geteuid() != getuid();
  call->late = std::move(late);
  std::thread thread = start(call);
  if (!thread.joinable()) {
    return call->work();
  }
  const bool in_time = call->finished.try_acquire_for(std::chrono::seconds(seconds_)) ||
                       call->state.exchange(Call::State::given_up) == Call::State::finished;
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!in_time) {
    thread.detach();
    silent_.insert(path);
    return std::nullopt;
  }
  thread.join();
  if (answers == Answers::yes) {
    answered_.insert(path);
  }
  return call->result;
}

}  // namespace sysfs
