#include "Workload/activity.h"

#include <gtest/gtest.h>

#include <ctime>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

double processor_time_ns() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// Uses `ns` of the processor.
void work(double ns) {
  const double end = processor_time_ns() + ns;
  while (processor_time_ns() < end) {
  }
}

constexpr double kWorkNs = 20e6;
constexpr double kReadingNs = 1e6;  // what making and asking may take themselves

TEST(Activity, OrdinaryWorkHasNoExcess) {
  const double before = activity_excess_ns();
  work(kWorkNs);
  const Activity ordinary(kOrdinaryActivity);
  work(kWorkNs);
  EXPECT_EQ(activity_excess_ns(), before);
}

TEST(Activity, HeavyWorkIsMoreByItsTime) {
  const double before = activity_excess_ns();
  const Activity heavy(1.0);
  work(kWorkNs);
  EXPECT_NEAR(activity_excess_ns() - before, 0.45 * kWorkNs, kReadingNs);
}

TEST(Activity, LightWorkIsLess) {
  const double before = activity_excess_ns();
  const Activity light(0.25);
  work(kWorkNs);
  EXPECT_NEAR(activity_excess_ns() - before, -0.3 * kWorkNs, kReadingNs);
}

TEST(Activity, StaysCountedWhenItsThreadHasEnded) {
  const double before = activity_excess_ns();
  std::thread([] {
    const Activity heavy(1.0);
    work(kWorkNs);
  }).join();
  const double after = activity_excess_ns();
  EXPECT_NEAR(after - before, 0.45 * kWorkNs, kReadingNs);
  work(kWorkNs);
  EXPECT_EQ(activity_excess_ns(), after) << "this thread is ordinary again";
}

TEST(Activity, ThreadsThatComeAndGoAreAllCounted) {
  const double before = activity_excess_ns();
  std::atomic<bool> asking = true;
  std::thread asker([&] {
    while (asking) {
      activity_excess_ns();
    }
  });
  constexpr int kThreads = 50;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([] {
      const Activity heavy(1.0);
      work(kWorkNs / 20);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  asking = false;
  asker.join();
  EXPECT_NEAR(activity_excess_ns() - before, 0.45 * kThreads * kWorkNs / 20, kThreads * kReadingNs);
  EXPECT_GT(activity_excess_ns() - before, 0.45 * kThreads * kWorkNs / 20);
}

}  // namespace
