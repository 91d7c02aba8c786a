#include "Process/foremost_thread.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <thread>

namespace {

// Priorities outlast a test, so each of these ends in a process of its own.
#define EXPECT_IN_CHILD(function) \
  EXPECT_EXIT({ std::_Exit(function() ? 0 : 1); }, testing::ExitedWithCode(0), "")

bool take_priority(int priority) {
  sched_param param{};
  param.sched_priority = priority;
  return pthread_setschedparam(pthread_self(), SCHED_FIFO, &param) == 0;
}

bool give_up_every_right() {
  __user_cap_header_struct header{};
  header.version = _LINUX_CAPABILITY_VERSION_3;
  const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none{};
  const rlimit no_priority{0, 0};
  return setrlimit(RLIMIT_RTPRIO, &no_priority) == 0 &&
         syscall(SYS_capset, &header, none.data()) == 0;
}

class ForemostThreadDeathTest : public testing::Test {
 protected:
  void SetUp() override {
    sched_param ordinary{};
    if (!take_priority(1) || pthread_setschedparam(pthread_self(), SCHED_OTHER, &ordinary) != 0) {
      GTEST_SKIP() << "needs the right to a fixed priority";
    }
  }
};

TEST_F(ForemostThreadDeathTest, TakesTheHighestPriority) {
  EXPECT_IN_CHILD([] {
    process::become_foremost_thread();
    sched_param param{};
    return sched_getparam(0, &param) == 0 && param.sched_priority == 99;
  });
}

TEST_F(ForemostThreadDeathTest, WithoutTheRightMakesEveryOtherThreadOrdinary) {
  EXPECT_IN_CHILD([] {
    std::atomic<pid_t> other{0};
    std::thread([&] {
      other = take_priority(2) && give_up_every_right() ? gettid() : -1;
      for (;;) {
        pause();
      }
    }).detach();
    while (other == 0) {
      std::this_thread::yield();
    }
    const bool was_fixed = sched_getscheduler(other) == SCHED_FIFO;
    if (!give_up_every_right()) {
      return false;
    }
    process::become_foremost_thread();
    return was_fixed && sched_getscheduler(other) == SCHED_OTHER;
  });
}

}  // namespace
