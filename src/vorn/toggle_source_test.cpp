#include "vorn/toggle_source.h"

#include <limits>

#include "support/settings_fixture.h"
#include "vorn/settings.h"

namespace {

ClockPair clocks{0.0, 0.0};

ClockPair test_clocks() {
  return clocks;
}

class ToggleSourceTest : public SettingsFixture {
 protected:
  ToggleSourceTest() { clocks = {0.0, 0.0}; }

  /// The length of the next `count` intervals in ns; the clocks go on by it, the wall clock
  /// `faster` times as fast.
  static std::int64_t play(ToggleSource& source, int count, double faster = 1.0) {
    std::int64_t sum = 0;
    for (int i = 0; i < count; ++i) {
      const std::int64_t interval = source.next_ns().value();
      sum += interval;
      clocks.monotonic += 1e-9 * static_cast<double>(interval);
      clocks.wall += 1e-9 * static_cast<double>(interval) * faster;
    }
    return sum;
  }
};

TEST_F(ToggleSourceTest, PlaysTheScheduleOverAndOver) {
  frequency = 10.0;
  triangle = 2.5;
  ToggleSource source(test_clocks);
  for (int wave = 0; wave < 3; ++wave) {
    for (const std::int64_t interval : {0, 100, 50, 50, 100, 0, 50, 50}) {
      EXPECT_EQ(source.next_ns(), interval * 1000000);
    }
  }
}

TEST_F(ToggleSourceTest, KeepsTheFractionsThatTheScheduleRoundsAway) {
  frequency = 300.0;  // 1667 us in the schedule
  ToggleSource source(test_clocks);
  EXPECT_NEAR(static_cast<double>(play(source, 600)), 1e9, 1.0);
}

TEST_F(ToggleSourceTest, IsTrueToTheNanosecondAfterAMinute) {
  frequency = 700.0;
  ToggleSource source(test_clocks);
  EXPECT_NEAR(static_cast<double>(play(source, 2 * 700 * 60)), 60e9, 1.0);
}

TEST_F(ToggleSourceTest, FollowsAWallClockThatRunsFaster) {
  frequency = 1.0;
  ToggleSource source(test_clocks);
  play(source, 21, 1.0005);
  EXPECT_NEAR(static_cast<double>(source.next_ns().value()), 5e8 / 1.0005, 500.0);
}

// Twenty intervals of one slot a second, of which every other has no length, take ten seconds.
TEST_F(ToggleSourceTest, IntervalsOfNoLengthCountForTheDrift) {
  frequency = 1.0;
  sinusoid = 1.0;
  ToggleSource source(test_clocks);
  play(source, 21, 1.0005);
  EXPECT_NEAR(static_cast<double>(source.next_ns().value()), 1e9 / 1.0005, 500.0);
}

TEST_F(ToggleSourceTest, AStepOfTheWallClockChangesNoInterval) {
  frequency = 1.0;
  ToggleSource source(test_clocks);
  play(source, 10);
  clocks.wall -= 3600.0;
  play(source, 12);
  EXPECT_EQ(source.next_ns(), 500000000);
}

TEST_F(ToggleSourceTest, IntervalsBeyondAnyClockLastForEver) {
  frequency = 1e-300;
  ToggleSource source(test_clocks);
  EXPECT_GT(source.next_ns(), std::int64_t{1} << 60);
}

TEST_F(ToggleSourceTest, AnIntervalLongerThanTheScheduleCanSayIsNotCutShort) {
  frequency = 1e-4;  // half periods of 5000 s; the schedule holds 4294
  ToggleSource source(test_clocks);
  EXPECT_EQ(source.next_ns(), std::int64_t{5000} * 1000000000);
}

TEST_F(ToggleSourceTest, AScheduleWithoutIntervalsLastsForEver) {
  frequency = 10.0;
  sinusoid = std::numeric_limits<double>::infinity();
  ToggleSource source(test_clocks);
  EXPECT_GT(source.next_ns(), std::int64_t{1} << 60);
}

}  // namespace
