#include "lab/analysis/kernel_view.h"

#include <gtest/gtest.h>

#include <cmath>

#include "lab/fakes/fake_waveform.h"

namespace lab {
namespace {

constexpr std::int64_t kFirstTask = 4711;

/// The record of a square wave, and a trace in which each thread had its processor 6 us earlier.
struct Both {
  Stimulus stimulus;
  SchedulerTrace trace;
  Stretch stretch;

  Both() {
    trace.taken = true;
    stretch = FakeWaveform{.late_us = 10, .skew_us = 3}.add_to(stimulus);
    for (int number : {0, 1}) {
      stimulus.threads.push_back(
          {.number = number, .task = kFirstTask + number, .policy = "fifo", .priority = 31});
    }
    for (const Stimulus::Follow& follow : stimulus.follows) {
      const std::int64_t instant_ns = follow.instant_ns + (follow.on ? -6'000 : 2'000);
      trace.switches.push_back({.instant_ns = instant_ns / 1000 * 1000,
                                .task = kFirstTask + follow.thread,
                                .on = follow.on});
      trace.switches.push_back({.instant_ns = instant_ns, .task = 1, .on = follow.on});
    }
  }

  std::optional<KernelView> view() const { return kernel_view(stimulus, trace, stretch, 100); }
};

TEST(KernelView, HasTheWaveOfTheTrace) {
  const Both both;
  const auto view = both.view();
  ASSERT_TRUE(view);
  EXPECT_EQ(view->wave.periods, 1000U);
  EXPECT_EQ(view->wave.on.count(), 2000U);
  EXPECT_EQ(view->wave.on.missed(), 0U);
  EXPECT_NEAR(view->wave.on.at(0.25), 4, 0.5);
  EXPECT_NEAR(view->wave.off.at(0.5), 12, 0.5);
  EXPECT_NEAR(view->wave.skew.at(0.5), 3, 0.5);
  EXPECT_NEAR(view->wave.frequency->value, 100, 1e-4);
  EXPECT_FALSE(view->wave.duty) << "processor time is not in a trace";
}

TEST(KernelView, TellsHowLateTheEngineReadsTheClock) {
  const auto view = Both().view();
  ASSERT_TRUE(view);
  EXPECT_EQ(view->read_behind.count(), 2000U);
  EXPECT_EQ(view->read_behind.missed(), 0U);
  EXPECT_NEAR(view->read_behind.at(0.5), 6, 1);
  EXPECT_LT(view->read_behind.most(), 7.1);
}

TEST(KernelView, CountsBeginsThatTheTraceDoesNotHave) {
  Both both;
  int nth = 0;
  std::erase_if(both.trace.switches, [&](const SchedulerTrace::Switch& one) {
    return one.on && one.task == kFirstTask && ++nth % 10 == 0;
  });
  both.trace.lost = 7;
  const auto view = both.view();
  ASSERT_TRUE(view);
  EXPECT_EQ(view->read_behind.missed(), 100U);
  EXPECT_EQ(view->wave.on.missed(), 100U);
  EXPECT_TRUE(std::isinf(view->wave.on.at(0.99)));
  EXPECT_NEAR(seen(view->wave.on).at(0.99), 7, 1) << "of those that it has";
  EXPECT_EQ(view->lost, 7);
}

TEST(KernelView, OfNoTraceOrOfOthersIsNone) {
  Both both;
  both.trace.taken = false;
  EXPECT_FALSE(both.view());
  Both others;
  for (Stimulus::Thread& thread : others.stimulus.threads) {
    thread.task = 99;
  }
  EXPECT_FALSE(others.view());
}

}  // namespace
}  // namespace lab
