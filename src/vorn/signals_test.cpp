#include "vorn/signals.h"

#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "support/settings_fixture.h"
#include "vorn/settings.h"
#include "vorn/throttle_guard.h"

namespace {

// Masks, handlers and timers belong to the process, so each of these ends in a process of its own.
using SignalsDeathTest = SettingsFixture;

#define EXPECT_IN_CHILD(function) \
  EXPECT_EXIT({ std::_Exit(function() ? 0 : 1); }, testing::ExitedWithCode(0), "")

bool eventually_ended() {
  for (int tries = 0; tries < 5000 && !params.terminate; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return params.terminate;
}

TEST_F(SignalsDeathTest, AnInterruptEndsTheRun) {
  EXPECT_IN_CHILD([] {
    signals();
    kill(getpid(), SIGINT);
    const bool ended = eventually_ended();
    stop_listening();
    return ended && params.active;
  });
}

// Whoever sets the end, the path is completed before the program goes on to its own.
TEST_F(SignalsDeathTest, AnEndThatTheThrottleGuardSawFirstIsCompletedByTheListener) {
  EXPECT_IN_CHILD([] {
    params.active = false;
    signals();
    end_run_among_ordinary_threads();
    std::thread late([] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      kill(getpid(), SIGINT);
    });
    stop_listening();
    const bool path_has_run = params.active;
    late.join();
    return path_has_run;
  });
}

TEST_F(SignalsDeathTest, WithoutATimeNoTimerIsArmed) {
  EXPECT_IN_CHILD([] {
    signals();
    itimerval left{};
    getitimer(ITIMER_REAL, &left);
    return left.it_value.tv_sec == 0 && left.it_value.tv_usec == 0;
  });
}

TEST_F(SignalsDeathTest, ATimeArmsTheTimerOnce) {
  EXPECT_IN_CHILD([] {
    trial_time = 1000;
    signals();
    itimerval left{};
    getitimer(ITIMER_REAL, &left);
    return left.it_value.tv_sec >= 998 && left.it_interval.tv_sec == 0;
  });
}

TEST_F(SignalsDeathTest, AnAdditionalTimeIsPartOfTheTimer) {
  EXPECT_IN_CHILD([] {
    trial_time = 1000;
    additional_time_us = 2500000;
    signals();
    itimerval left{};
    getitimer(ITIMER_REAL, &left);
    const double seconds = static_cast<double>(left.it_value.tv_sec) +
                           1e-6 * static_cast<double>(left.it_value.tv_usec);
    return seconds > 1000.5 && seconds <= 1002.5;
  });
}

TEST_F(SignalsDeathTest, TheEndIsTheTimersOrNot) {
  EXPECT_IN_CHILD([] {
    signals();
    const bool none = ending_signal() == 0;
    end_run();
    eventually_ended();
    stop_listening();
    return none && ending_signal() == SIGINT;
  });
  EXPECT_IN_CHILD([] {
    additional_time_us = 1000;
    signals();
    eventually_ended();
    stop_listening();
    return ending_signal() == SIGALRM;
  });
}

/// Ends the run, and the process with a second signal, which only a completed path hears.
[[noreturn]] void interrupt_twice() {
  signals();
  kill(getpid(), SIGINT);
  eventually_ended();
  wait_for_shutdown();
  for (;;) {  // one that comes right behind the path is dropped with those that came during it
    kill(getpid(), SIGINT);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

TEST_F(SignalsDeathTest, ASecondInterruptEndsTheProcessAtOnce) {
  EXPECT_EXIT(interrupt_twice(), testing::ExitedWithCode(0), "");
}

TEST_F(SignalsDeathTest, ASecondInterruptKeepsTheStatusThatTheRunHas) {
  EXPECT_EXIT(
      {
        use_status_at_once([] { return 22; });
        interrupt_twice();
      },
      testing::ExitedWithCode(22), "");
}

/// Sends SIGQUIT to a run whose shutdown waits for a lock that is not given back.
[[noreturn]] void quit_a_shutdown_that_hangs() {
  const rlimit no_core{};
  setrlimit(RLIMIT_CORE, &no_core);
  pthread_mutex_lock(&params.mutex);
  signals();
  kill(getpid(), SIGINT);
  eventually_ended();
  for (int tries = 0; tries < 1000; ++tries) {
    kill(getpid(), SIGQUIT);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  std::_Exit(1);
}

TEST_F(SignalsDeathTest, AQuitKillsAProcessWhoseShutdownHangs) {
  EXPECT_EXIT(quit_a_shutdown_that_hangs(), testing::KilledBySignal(SIGQUIT), "");
}

bool ignores_stops_from_the_terminal() {
  signals();
  struct sigaction action {};
  sigaction(SIGTSTP, nullptr, &action);
  stop_listening();
  return action.sa_handler == SIG_IGN;
}

TEST_F(SignalsDeathTest, ARunThatHoldsFansIsNotStoppedFromTheTerminal) {
  if (!using_privileged_operations()) {
    GTEST_SKIP() << "needs root";
  }
  rpm = 2000;
  for (const std::int32_t state : {-1, 0}) {
    pstate = state;
    EXPECT_IN_CHILD(ignores_stops_from_the_terminal);
  }
}

TEST_F(SignalsDeathTest, ARunThatHoldsNoFansMayBeStoppedFromTheTerminal) {
  pstate = 0;
  EXPECT_IN_CHILD([] { return !ignores_stops_from_the_terminal(); });
}

bool is_blocked(int signo) {
  sigset_t blocked;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  return sigismember(&blocked, signo) == 1;
}

// As nohup has it.
TEST_F(SignalsDeathTest, AnIgnoredHangupIsNotListenedFor) {
  EXPECT_IN_CHILD([] {
    signal(SIGHUP, SIG_IGN);
    signals();
    const bool listens = is_blocked(SIGHUP) || !is_blocked(SIGTERM);
    stop_listening();
    return !listens;
  });
}

TEST_F(SignalsDeathTest, ALimitOfFileSizesIsNoSignal) {
  EXPECT_IN_CHILD([] {
    signals();
    struct sigaction action {};
    sigaction(SIGXFSZ, nullptr, &action);
    stop_listening();
    return action.sa_handler == SIG_IGN;
  });
}

TEST_F(SignalsDeathTest, StoppedWithoutASignalReturnsAtOnce) {
  EXPECT_IN_CHILD([] {
    signals();
    stop_listening();
    return !params.terminate;
  });
}

}  // namespace
