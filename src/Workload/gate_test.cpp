#include "Workload/gate.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

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

}  // namespace
