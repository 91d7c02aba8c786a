#include "vorn/service_thread.h"

#include <sys/prctl.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

#include "support/fake_host.h"
#include "support/no_room_for_threads.h"
#include "support/settings_fixture.h"

namespace {

using ServiceThreadTest = SettingsFixture;

std::atomic<int> bodies_run{0};

void* count_and_end(void* /*arg*/) {
  ++bodies_run;
  return nullptr;
}

std::atomic<bool> released{false};

void* count_when_released(void* /*arg*/) {
  while (!released) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ++bodies_run;
  return nullptr;
}

std::atomic<int> slack_ns{0};

void* note_slack(void* /*arg*/) {
  slack_ns = prctl(PR_GET_TIMERSLACK);
  return nullptr;
}

void* count_late(void* /*arg*/) {
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  ++bodies_run;
  return nullptr;
}

TEST_F(ServiceThreadTest, RunsItsBodyAtThePriorityAskedFor) {
  ServiceThread thread;
  bodies_run = 0;
  EXPECT_EQ(thread.start(count_and_end, 63), 0);
  EXPECT_EQ(fake_host::state().last_priority, 63);
  thread.join();
  EXPECT_EQ(bodies_run, 1);
}

TEST_F(ServiceThreadTest, DoesNotRunItsBodyIfThePriorityIsRefused) {
  ServiceThread thread;
  bodies_run = 0;
  fake_host::state().priority_result = EPERM;
  EXPECT_EQ(thread.start(count_and_end, 63), -1);
  EXPECT_EQ(thread.start_error(), EPERM);
  thread.join();
  EXPECT_EQ(bodies_run, 0);
}

TEST_F(ServiceThreadTest, MayBeJoinedBeforeItWasStarted) {
  ServiceThread thread;
  thread.join();
}

TEST_F(ServiceThreadTest, MayBeJoinedAfterItHasEndedAndAgain) {
  ServiceThread thread;
  ASSERT_EQ(thread.start(count_and_end, 63), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  thread.join();
  thread.join();
}

TEST_F(ServiceThreadTest, ThatDoesNotEndInTimeMayBeJoinedLater) {
  ServiceThread thread;
  bodies_run = 0;
  released = false;
  ASSERT_EQ(thread.start(count_when_released, 63), 0);
  const auto start = std::chrono::steady_clock::now();
  thread.join_within(1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(990));
  EXPECT_EQ(bodies_run, 0);
  released = true;
  thread.join();
  EXPECT_EQ(bodies_run, 1);
}

TEST_F(ServiceThreadTest, ThatEndsInTimeIsWaitedFor) {
  ServiceThread thread;
  bodies_run = 0;
  ASSERT_EQ(thread.start(count_late, 63), 0);
  thread.join_within(60);
  EXPECT_EQ(bodies_run, 1);
}

TEST_F(ServiceThreadTest, WakesWithoutDelay) {
  prctl(PR_SET_TIMERSLACK, 50000UL);
  ServiceThread thread;
  ASSERT_EQ(thread.start(note_slack, 63), 0);
  thread.join();
  prctl(PR_SET_TIMERSLACK, 0UL);  // the default again
  EXPECT_EQ(slack_ns, 1);
}

TEST_F(ServiceThreadTest, ThatCannotBeCreatedFails) {
  ServiceThread thread;
  const NoRoomForThreads no_room;
  EXPECT_EQ(thread.start(count_and_end, 63), -1);
  thread.join();
}

TEST_F(ServiceThreadTest, JoinedByTwoAtOnceKeepsBothUntilItHasEnded) {
  ServiceThread thread;
  bodies_run = 0;
  ASSERT_EQ(thread.start(count_late, 63), 0);
  std::thread other([&thread] {
    thread.join();
    EXPECT_EQ(bodies_run, 1);
  });
  thread.join();
  EXPECT_EQ(bodies_run, 1);
  other.join();
}

}  // namespace
