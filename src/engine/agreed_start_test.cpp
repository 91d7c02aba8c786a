#include "engine/agreed_start.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/passed_edges.h"
#include "support/scripted_source.h"

namespace engine {
namespace {

ClockReading clocks{};  // what the tests' machine shows

ClockReading shown() {
  return clocks;
}

class AgreedStartTest : public testing::Test {
 protected:
  AgreedStartTest() { clocks = {.monotonic_ns = 70, .wall_ns = 1000, .width_ns = 0}; }
};

TEST_F(AgreedStartTest, IsAsFarAheadOnTheMonotonicClockAsOnTheWallClock) {
  AgreedStart start(1500, shown);
  EXPECT_EQ(start.instant_ns(), 570);
  clocks = {.monotonic_ns = 470, .wall_ns = 1400, .width_ns = 0};
  EXPECT_EQ(start.instant_ns(), 570);
}

TEST_F(AgreedStartTest, MovesWhenTheWallClockIsSet) {
  AgreedStart start(1500, shown);
  clocks = {.monotonic_ns = 70, .wall_ns = 1100, .width_ns = 0};
  EXPECT_EQ(start.instant_ns(), 470);
}

TEST_F(AgreedStartTest, TheFirstEdgeSaysHowLateTheWaveformBegan) {
  AgreedStart start(1500, shown);
  StartWatch watch(start, nullptr);
  EXPECT_EQ(watch.late_ns(), std::nullopt);
  watch.switched(570, 573, true);
  watch.switched(600, 650, false);
  EXPECT_EQ(watch.late_ns(), 3);
}

TEST_F(AgreedStartTest, AClockThatWasSetTooLateToFollowMakesTheStartLate) {
  AgreedStart start(1500, shown);
  StartWatch watch(start, nullptr);
  clocks = {.monotonic_ns = 570, .wall_ns = 1600, .width_ns = 0};
  watch.switched(570, 570, true);
  EXPECT_EQ(watch.late_ns(), 100);
}

TEST_F(AgreedStartTest, EveryEdgeIsPassedOn) {
  PassedEdges edges;
  AgreedStart start(1500, shown);
  StartWatch watch(start, &edges);
  watch.switched(570, 573, true);
  watch.switched(600, 650, false);
  EXPECT_EQ(edges.seen, (std::vector<std::int64_t>{570, -650}));
}

TEST(ClockReading, IsOfBothClocksTogether) {
  const ClockReading first = clock_reading();
  const ClockReading second = clock_reading();
  EXPECT_GE(second.monotonic_ns, first.monotonic_ns);
  EXPECT_GT(first.wall_ns, 1600000000000000000);
}

TEST(SteadySource, StaysOnForLongerThanAnyRun) {
  SteadySource source;
  EXPECT_GT(source.next_ns().value_or(0), 3000000000000000000);
  EXPECT_EQ(source.next_ns(), std::nullopt);
}

TEST(WatchedSource, KnowsWhenTheWaveformIsOver) {
  SteadySource steady;
  WatchedSource watched(steady);
  EXPECT_TRUE(watched.next_ns().has_value());
  EXPECT_FALSE(watched.over());
  EXPECT_EQ(watched.next_ns(), std::nullopt);
  EXPECT_TRUE(watched.over());
}

TEST(WatchedSource, LeavesOutAFirstIntervalOfNoLength) {
  ScriptedSource script({0, 5, 0});
  WatchedSource watched(script);
  EXPECT_TRUE(watched.leaves_out_first());
  EXPECT_EQ(watched.next_ns(), 5);
  EXPECT_EQ(watched.next_ns(), 0);
  EXPECT_EQ(watched.next_ns(), std::nullopt);
}

TEST(WatchedSource, PassesAFirstIntervalOnThatEndsWithoutAnEdge) {
  ScriptedSource script({0, 5});
  script.tell_edges([](std::size_t interval) { return interval != 0; });
  WatchedSource watched(script);
  EXPECT_FALSE(watched.leaves_out_first());
  EXPECT_EQ(watched.next_ns(), 0);
  EXPECT_FALSE(watched.ends_in_edge());
  EXPECT_EQ(watched.next_ns(), 5);
  EXPECT_TRUE(watched.ends_in_edge());
}

TEST(WatchedSource, PassesAFirstIntervalOnThatHasALength) {
  ScriptedSource script({7, 5});
  WatchedSource watched(script);
  EXPECT_FALSE(watched.leaves_out_first());
  EXPECT_EQ(watched.next_ns(), 7);
  EXPECT_EQ(watched.next_ns(), 5);
}

}  // namespace
}  // namespace engine
