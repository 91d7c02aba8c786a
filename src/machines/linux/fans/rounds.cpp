#include "machines/linux/fans/rounds.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <utility>

#include "Process/thread_user.h"

namespace linux_machine {

Rounds::~Rounds() {
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
    changed_.notify_all();
  }
  if (thread_.joinable()) {
    thread_.join();
  }
}

void Rounds::begin() {
  std::unique_lock lock(mutex_);
  ++begun_;
  changed_.notify_all();
  if (runs_) {
    return;
  }
  if (thread_.joinable()) {
    thread_.join();  // it has ended, or is about to: it does nothing after it said so
  }
  lowered_ = false;
  thread_ = std::thread([this] { run(); });
  runs_ = true;
  changed_.wait(lock, [this] { return lowered_; });
}

void Rounds::run() {
  // Its creator may run with the raised user id of a set-user-id program, and is alone with that.
  const int error = process::set_thread_effective_user(getuid()) == 0 ? 0 : errno;
  for (bool done = false; !done;) {
    std::unique_lock lock(mutex_);
    lowered_ = true;
    changed_.notify_all();
    const std::uint64_t begun = begun_;
    lock.unlock();
    if (error != 0) {
      work_.refused(error);
    }
    while (error == 0 && work_.needed() && wait_for_round()) {
      work_.round();
    }
    lock.lock();
    done = ends_ || begun == begun_;
    runs_ = !done;
    changed_.notify_all();
  }
}

/// False: there is nothing to be done any more, or the object ends.
bool Rounds::wait_for_round() {
  const auto next = std::chrono::steady_clock::now() + std::chrono::nanoseconds(kPeriodNs);
  std::unique_lock lock(mutex_);
  while (changed_.wait_until(lock, next, [this] { return ends_ || looks_; })) {
    looks_ = false;
    lock.unlock();
    if (!work_.needed()) {
      return false;
    }
    lock.lock();
    if (ends_) {
      return false;
    }
  }
  return true;
}

void Rounds::join_ended() {
  std::unique_lock lock(mutex_);
  const std::uint64_t begun = begun_;
  lock.unlock();
  if (work_.needed()) {
    return;
  }
  lock.lock();
  looks_ = true;
  changed_.notify_all();
  changed_.wait(lock, [&] { return !runs_ || begun_ != begun; });
  std::thread ended = runs_ ? std::thread() : std::move(thread_);
  lock.unlock();
  if (ended.joinable()) {
    ended.join();
  }
}

}  // namespace linux_machine
