#include "Workload/gate.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "support/asleep.h"
#include "support/sanitized.h"

namespace {

using std::chrono::milliseconds;

long voluntary_switches_of_this_thread() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_nvcsw;
}

/// Threads that pass the gate without pause until the run ends.
class Crowd {
 public:
  explicit Crowd(int count) : params_{true, {}, {}, false} {
    pthread_mutex_init(&params_.mutex, nullptr);
    pthread_cond_init(&params_.cond, nullptr);
    for (int i = 0; i < count; ++i) {
      threads_.emplace_back([this] { pass(); });
    }
  }
  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;
  ~Crowd() {
    end();
    pthread_cond_destroy(&params_.cond);
    pthread_mutex_destroy(&params_.mutex);
  }

  /// Waits until the threads have passed the gate `passes` times in all. False after a minute.
  bool has_passed(long passes) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (crossed_.load() < passes) {
      if (std::chrono::steady_clock::now() > deadline) {
        return false;
      }
      std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
  }

  void end() {
    params_.terminate = true;
    pthread_mutex_lock(&params_.mutex);
    params_.active = true;
    pthread_cond_broadcast(&params_.cond);
    pthread_mutex_unlock(&params_.mutex);
    for (std::thread& thread : threads_) {
      if (thread.joinable()) {
        thread.join();
      }
    }
  }

  workload_params& params() { return params_; }
  long voluntary_switches() const { return switches_.load(); }

 private:
  void pass() {
    const long before = voluntary_switches_of_this_thread();
    while (!params_.terminate) {
      wait_until_active(&params_);
      crossed_.fetch_add(1, std::memory_order_relaxed);  // counts, and orders nothing
    }
    switches_ += voluntary_switches_of_this_thread() - before;
  }

  workload_params params_;
  std::atomic<long> crossed_{0};
  std::atomic<long> switches_{0};
  std::vector<std::thread> threads_;
};

TEST(Gate, NobodySleepsInAnOnPhase) {
  if (kThreadSanitized) {
    GTEST_SKIP() << "the thread sanitizer's runtime sleeps for locks of its own";
  }
  Crowd crowd(64);
  ASSERT_TRUE(crowd.has_passed(2000000));
  crowd.end();
  EXPECT_EQ(crowd.voluntary_switches(), 0);
}

TEST(Gate, TakesNoLockInAnOnPhase) {
  Crowd crowd(4);
  pthread_mutex_lock(&crowd.params().mutex);  // who took it would never pass again
  EXPECT_TRUE(crowd.has_passed(4000));
  pthread_mutex_unlock(&crowd.params().mutex);
}

std::int64_t monotonic_ns() {
  return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

/// A thread that waits at the gate once, while the waveform is off.
class Waiter {
 public:
  Waiter() {
    pthread_mutex_init(&own_.mutex, nullptr);
    pthread_cond_init(&own_.cond, nullptr);
  }
  /// One for the waveform of another, which outlives it.
  explicit Waiter(workload_params& params) : params_(params) {}
  Waiter(const Waiter&) = delete;
  Waiter& operator=(const Waiter&) = delete;
  ~Waiter() {
    release_waiters(&params_);
    thread_.join();
    if (&params_ == &own_) {
      pthread_cond_destroy(&own_.cond);
      pthread_mutex_destroy(&own_.mutex);
    }
  }

  void wait_at_the_gate() {
    thread_ = std::thread([this] {
      task_ = static_cast<pid_t>(syscall(SYS_gettid));
      wait_until_active(&params_);
      passed_ns_ = monotonic_ns();
    });
    while (task_ == 0 || !asleep(task_)) {
      std::this_thread::yield();
    }
  }

  /// Makes the waveform on as anybody may who knows nothing of announcements.
  void broadcast() {
    pthread_mutex_lock(&params_.mutex);
    params_.active = true;
    pthread_cond_broadcast(&params_.cond);
    pthread_mutex_unlock(&params_.mutex);
  }

  /// When it passed. 0 if it does not within ten seconds.
  std::int64_t passed_ns() const {
    for (int tries = 0; tries < 10000 && passed_ns_ == 0; ++tries) {
      std::this_thread::sleep_for(milliseconds(1));
    }
    return passed_ns_;
  }

  workload_params& params() { return params_; }

 private:
  workload_params own_{false, {}, {}, false};
  workload_params& params_ = own_;
  std::atomic<pid_t> task_{0};
  std::atomic<std::int64_t> passed_ns_{0};
  std::thread thread_;
};

constexpr std::int64_t kMillisecond = 1000000;
constexpr std::int64_t kHour = 3600000 * kMillisecond;

TEST(Gate, AnAnnouncedWaiterPassesAtTheInstantWithoutABroadcast) {
  Waiter waiter;
  const std::int64_t instant = monotonic_ns() + 300 * kMillisecond;
  announce_on(&waiter.params(), instant);
  waiter.wait_at_the_gate();
  waiter.params().active = true;
  EXPECT_GE(waiter.passed_ns(), instant);
}

TEST(Gate, AnInstantIsAnnouncedToThoseWhoWaitAlready) {
  Waiter waiter;
  waiter.wait_at_the_gate();
  const std::int64_t instant = monotonic_ns() + 500 * kMillisecond;
  announce_on_to_waiters(&waiter.params(), instant);
  std::this_thread::sleep_for(milliseconds(250));  // it may look meanwhile, and sleeps then
  waiter.params().active = true;
  EXPECT_GE(waiter.passed_ns(), instant);
}

TEST(Gate, AnEarlierInstantIsAnnouncedToThoseWhoWaitForALaterOne) {
  Waiter waiter;
  announce_on(&waiter.params(), monotonic_ns() + kHour);
  waiter.wait_at_the_gate();
  announce_on_to_waiters(&waiter.params(), monotonic_ns() + 50 * kMillisecond);
  waiter.params().active = true;
  EXPECT_NE(waiter.passed_ns(), 0);
}

TEST(Gate, AReleaseDoesNotWaitForTheInstant) {
  Waiter waiter;
  announce_on(&waiter.params(), monotonic_ns() + kHour);
  waiter.wait_at_the_gate();
  release_waiters(&waiter.params());
  EXPECT_NE(waiter.passed_ns(), 0);
}

TEST(Gate, AReleaseLetsEverybodyGoWhoSleepsUntilTheInstant) {
  Waiter first;
  Waiter second(first.params());
  announce_on(&first.params(), monotonic_ns() + kHour);
  first.wait_at_the_gate();
  second.wait_at_the_gate();
  release_waiters(&first.params());
  EXPECT_NE(first.passed_ns(), 0);
  EXPECT_NE(second.passed_ns(), 0);
}

TEST(Gate, AReleaseLetsEverybodyGoWhoWaitsForTheBroadcast) {
  announce_nothing();
  Waiter first;
  Waiter second(first.params());
  first.wait_at_the_gate();
  second.wait_at_the_gate();
  release_waiters(&first.params());
  EXPECT_NE(first.passed_ns(), 0);
  EXPECT_NE(second.passed_ns(), 0);
}

TEST(Gate, AfterTheInstantABroadcastIsWaitedForAsleep) {
  Waiter waiter;
  announce_on(&waiter.params(), monotonic_ns() - kMillisecond);
  waiter.wait_at_the_gate();
  waiter.broadcast();
  EXPECT_NE(waiter.passed_ns(), 0);
}

TEST(Gate, AnInstantIsWithdrawnFromThoseWhoSleepUntilIt) {
  Waiter waiter;
  announce_on(&waiter.params(), monotonic_ns() + kHour);
  waiter.wait_at_the_gate();
  withdraw_from_waiters(&waiter.params());
  waiter.broadcast();
  EXPECT_NE(waiter.passed_ns(), 0);
}

TEST(Gate, WithNothingAnnouncedABroadcastIsWaitedFor) {
  Waiter waiter;
  announce_on(&waiter.params(), monotonic_ns() + kHour);
  announce_nothing();
  waiter.wait_at_the_gate();
  waiter.broadcast();
  EXPECT_NE(waiter.passed_ns(), 0);
}

TEST(Gate, AnAnnouncementIsForItsOwnBlockAlone) {
  workload_params other{false, PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, false};
  announce_on(&other, monotonic_ns() + kHour);
  Waiter waiter;
  waiter.wait_at_the_gate();
  waiter.broadcast();
  EXPECT_NE(waiter.passed_ns(), 0);
}

}  // namespace
