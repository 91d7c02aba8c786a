#include "vorn/shutdown.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <optional>
#include <thread>
#include <vector>

#include "BlockingSpinLoop/BlockingSpinLoop.h"
#include "support/asleep.h"
#include "support/sanitized.h"
#include "support/settings_fixture.h"
#include "vorn/interval_source.h"
#include "vorn/settings.h"
#include "vorn/timing_thread.h"
#include "vorn/waveform.h"

namespace {

using std::chrono::milliseconds;

/// Blocking workloads against the shared block.
class Workers {
 public:
  explicit Workers(int count) {
    for (int i = 0; i < count; ++i) {
      threads_.emplace_back([] { BlockingSpinLoop(0, 31).run(&params); });
    }
  }
  void join() {
    for (std::thread& thread : threads_) {
      thread.join();
    }
  }

 private:
  std::vector<std::thread> threads_;
};

using Shutdown = SettingsFixture;

TEST_F(Shutdown, EndsARunWithoutServiceThreads) {
  params.active = false;
  sig_int_alrm(SIGINT);
  EXPECT_TRUE(params.terminate);
  EXPECT_TRUE(params.active);
}

TEST_F(Shutdown, MayRunBeforeTheServiceThreadsExist) {
  frequency = 10.0;
  monitor = true;
  sig_int_alrm(SIGINT);
  EXPECT_TRUE(params.terminate);
}

TEST_F(Shutdown, ATimingThreadThatStartsAfterItEndsByItself) {
  frequency = 0.01;
  sig_int_alrm(SIGALRM);
  ASSERT_EQ(spawn_timing(), 0);
  timing_thread.join();
  EXPECT_TRUE(params.active);
}

/// An interval of an hour, over and over, for a thread that takes its time to end.
class SlowToLeave : public IntervalSource {
 public:
  std::optional<std::int64_t> next_ns() override {
    thread_local const AtTheEnd at_the_end(over_);
    task_ = static_cast<pid_t>(syscall(SYS_gettid));
    return std::int64_t{3600} * 1000000000;
  }

  /// Returns when the thread that plays it sleeps.
  void wait_until_asleep() const {
    while (task_ == 0 || !asleep(task_)) {
      std::this_thread::yield();
    }
  }

  /// Whether the thread that played it is over.
  bool over() const { return over_; }

 private:
  /// Destroyed as the last thing that its thread does.
  class AtTheEnd {
   public:
    explicit AtTheEnd(std::atomic<bool>& over) : over_(over) {}
    AtTheEnd(const AtTheEnd&) = delete;
    AtTheEnd& operator=(const AtTheEnd&) = delete;
    ~AtTheEnd() {
      std::this_thread::sleep_for(milliseconds(50));
      over_ = true;
    }

   private:
    std::atomic<bool>& over_;
  };

  std::atomic<pid_t> task_{0};
  std::atomic<bool> over_{false};
};

TEST_F(Shutdown, JoinsTheTimingThreadOutOfItsSleep) {
  SlowToLeave source;
  waveform.source = &source;
  ASSERT_EQ(spawn_timing(), 0);
  source.wait_until_asleep();
  sig_int_alrm(SIGINT);
  EXPECT_TRUE(source.over());
  timing_thread.join();
}

TEST_F(Shutdown, MayRunAgainAfterItHasFinished) {
  for (int i = 0; i < 3; ++i) {
    params.active = false;
    params.terminate = false;
    sig_int_alrm(SIGINT);
    EXPECT_TRUE(params.active);
    EXPECT_TRUE(params.terminate);
  }
}

TEST_F(Shutdown, ReturnsAtOnceWhileItIsUnderWay) {
  pthread_mutex_lock(&params.mutex);
  std::thread first([] { sig_int_alrm(SIGINT); });
  while (!params.terminate) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  sig_int_alrm(SIGINT);  // would wait for the lock that this thread holds
  pthread_mutex_unlock(&params.mutex);
  first.join();
}

// Two million intervals of no length in a row: the waveform switches without the lock and without
// looking at `terminate`. Whatever its last word was, no workload may be left waiting.
TEST_F(Shutdown, ReleasesEveryWorkloadFromAWaveformOfNoLength) {
  constexpr int kRuns = kSanitized ? 6 : 30;  // making the schedule takes each half a second then
  for (int run = 0; run < kRuns; ++run) {
    params.active = true;
    params.terminate = false;
    frequency = 1e9;
    sinusoid = 1e3;
    Workers workers(3);
    ASSERT_EQ(spawn_timing(), 0);
    while (params.active) {  // the schedule is being made
    }
    sig_int_alrm(SIGINT);
    EXPECT_TRUE(params.active);
    workers.join();
  }
}

TEST_F(Shutdown, ReleasesEveryWorkloadFromAFastWaveform) {
  for (int run = 0; run < 100; ++run) {
    params.active = true;
    params.terminate = false;
    frequency = 5000.0;
    Workers workers(2);
    ASSERT_EQ(spawn_timing(), 0);
    std::this_thread::sleep_for(std::chrono::microseconds(1000 + 37 * run));
    sig_int_alrm(SIGINT);
    EXPECT_TRUE(params.active);
    workers.join();
  }
}

using ShutdownDeathTest = Shutdown;

TEST_F(ShutdownDeathTest, IsForInterruptAndAlarmAlone) {
  EXPECT_DEATH(sig_int_alrm(SIGTERM),
               "Assertion failed: \\(signo == SIGINT \\|\\| signo == SIGALRM\\), "
               "function sig_int_alrm, file src/vorn\\.");
}

}  // namespace
