#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

/// Says for how long the machine keeps threads waiting whatever their priority: other programs of
/// fixed priority, the kernel's reserve, a host that runs something else. A thread at the priority
/// of the programs' own main thread wakes each millisecond and notes how late it is. What it meets,
/// no program can do better, so a test adds it to what it allows.
class HoldUps {
 public:
  using Clock = std::chrono::steady_clock;

  HoldUps();
  HoldUps(const HoldUps&) = delete;
  HoldUps& operator=(const HoldUps&) = delete;
  ~HoldUps();

  /// The longest that began or ended since `start`, in seconds; one that lasts counts. Thread: any.
  double longest_since(Clock::time_point start) const;

  /// The 99th percentile of all of them, in seconds. Thread: any.
  double percentile99() const;

 private:
  struct HoldUp {
    Clock::time_point until;
    double seconds;
  };

  void watch();

  std::atomic<bool> stop_ = false;
  mutable std::mutex mutex_;
  std::vector<HoldUp> noted_;
  Clock::time_point due_;
  std::thread thread_;  // last: it uses the others
};
