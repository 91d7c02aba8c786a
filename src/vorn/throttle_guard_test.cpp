#include "vorn/throttle_guard.h"

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "support/settings_fixture.h"
#include "vorn/settings.h"

namespace {

using std::chrono::milliseconds;
using ThrottleGuard = SettingsFixture;

/// Waits until the run has ended. False after ten seconds.
bool ended() {
  for (int tries = 0; tries < 10000 && !params.terminate; ++tries) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  return params.terminate;
}

TEST_F(ThrottleGuard, MakesEveryThreadAnOrdinaryOne) {
  std::atomic<pid_t> other{0};
  std::atomic<bool> done{false};
  std::thread thread([&] {
    sched_param param{};
    param.sched_priority = 10;
    if (sched_setscheduler(0, SCHED_FIFO, &param) == 0) {
      other = static_cast<pid_t>(syscall(SYS_gettid));
    } else {
      other = -1;
    }
    while (!done) {
      std::this_thread::sleep_for(milliseconds(1));
    }
  });
  while (other == 0) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  const bool may = other > 0;
  if (may) {
    EXPECT_EQ(sched_getscheduler(other), SCHED_FIFO);
    end_run_among_ordinary_threads();
    EXPECT_EQ(sched_getscheduler(other), SCHED_OTHER);
    EXPECT_TRUE(params.terminate);
  }
  done = true;
  thread.join();
  if (!may) {
    GTEST_SKIP() << "needs the right to a fixed priority";
  }
}

TEST_F(ThrottleGuard, EndsTheRunForASignalThatNobodyTakes) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGUSR2);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  ASSERT_TRUE(start_throttle_guard(signals));
  std::this_thread::sleep_for(milliseconds(20));
  EXPECT_FALSE(params.terminate);
  kill(getpid(), SIGUSR2);
  EXPECT_TRUE(ended());
  int taken = 0;
  sigwait(&signals, &taken);  // it left the signal where it was
  EXPECT_EQ(taken, SIGUSR2);
}

}  // namespace
