#include "vorn/run_sleep.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include "support/settings_fixture.h"
#include "vorn/settings.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

using RunSleep = SettingsFixture;

TEST_F(RunSleep, LastsItsTime) {
  const Clock::time_point start = Clock::now();
  EXPECT_EQ(run_sleep(50000), 0);
  EXPECT_GE(seconds_since(start), 0.05);
}

TEST_F(RunSleep, OfNoLengthReturnsAtOnce) {
  EXPECT_EQ(run_sleep(0), 0);
}

TEST_F(RunSleep, UntilBeforeTheMachineWasStartedReturnsAtOnce) {
  EXPECT_EQ(run_sleep_until(-1), 0);
  EXPECT_EQ(run_sleep_until(-3600000000001), 0);
}

TEST_F(RunSleep, IsCutShortByTheEndOfTheRun) {
  std::thread ender([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    params.terminate = true;
    end_run_sleeps();
  });
  errno = 0;
  EXPECT_EQ(run_sleep(3000000000U), -1);
  EXPECT_EQ(errno, EINTR);
  ender.join();
}

TEST_F(RunSleep, DoesNotBeginOnceTheRunHasEnded) {
  params.terminate = true;
  EXPECT_EQ(run_sleep(3000000000U), -1);
  EXPECT_EQ(errno, EINTR);
}

void do_nothing(int /*signo*/) {}

TEST_F(RunSleep, IsNotCutShortByASignal) {
  struct sigaction action {};
  action.sa_handler = do_nothing;
  sigaction(SIGUSR1, &action, nullptr);
  const pthread_t sleeper = pthread_self();
  std::thread disturber([sleeper] {
    for (int i = 0; i < 20; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      pthread_kill(sleeper, SIGUSR1);
    }
  });
  const Clock::time_point start = Clock::now();
  EXPECT_EQ(run_sleep(150000), 0);
  EXPECT_GE(seconds_since(start), 0.15);
  disturber.join();
}

}  // namespace
