#include "support/hold_ups.h"

#include <pthread.h>
#include <sched.h>

#include <algorithm>

namespace {

constexpr int kPriority = 64;  // of the programs' main thread and their listener
constexpr std::chrono::milliseconds kPeriod{1};

double seconds_between(HoldUps::Clock::time_point from, HoldUps::Clock::time_point to) {
  return std::chrono::duration<double>(to - from).count();
}

}  // namespace

HoldUps::HoldUps() : due_(Clock::now() + kPeriod), thread_([this] { watch(); }) {
  sched_param param{};
  param.sched_priority = kPriority;
  pthread_setschedparam(thread_.native_handle(), SCHED_FIFO, &param);
}

HoldUps::~HoldUps() {
  stop_ = true;
  thread_.join();
}

void HoldUps::watch() {
  while (!stop_) {
    std::this_thread::sleep_until(due_);
    const Clock::time_point now = Clock::now();
    const std::lock_guard lock(mutex_);
    noted_.push_back({.until = now, .seconds = seconds_between(due_, now)});
    due_ = now + kPeriod;
  }
}

double HoldUps::longest_since(Clock::time_point start) const {
  const std::lock_guard lock(mutex_);
  double longest = std::max(0.0, seconds_between(due_, Clock::now()));
  for (auto held = noted_.rbegin(); held != noted_.rend() && held->until >= start; ++held) {
    longest = std::max(longest, held->seconds);
  }
  return longest;
}

double HoldUps::percentile99() const {
  std::vector<double> seconds;
  {
    const std::lock_guard lock(mutex_);
    for (const HoldUp& held : noted_) {
      seconds.push_back(held.seconds);
    }
  }
  std::sort(seconds.begin(), seconds.end());
  return seconds.empty() ? 0.0 : seconds[seconds.size() * 99 / 100];
}
