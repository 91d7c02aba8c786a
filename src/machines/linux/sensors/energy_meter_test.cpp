#include "machines/linux/sensors/energy_meter.h"

#include <gtest/gtest.h>

namespace linux_machine {
namespace {

using Outcome = EnergyMeter::Outcome;

constexpr long long kRangeUj = 262143328850;  // recorded on Intel's
constexpr double kMostW = 1000;

class EnergyMeterTest : public testing::Test {
 protected:
  EnergyMeter::Taken take(std::int64_t at_ms, long long energy_uj) {
    return meter_.take({at_ms * 1'000'000, energy_uj});
  }
  /// At a constant power since 0 ms.
  EnergyMeter::Taken take_at(std::int64_t at_ms, double power_w) {
    return take(at_ms, static_cast<long long>(power_w * 1000) * at_ms);
  }
  void expect_power(const EnergyMeter::Taken& taken, double power_w) {
    EXPECT_EQ(taken.outcome, Outcome::measured);
    EXPECT_NEAR(taken.power_w, power_w, 1e-9);
  }

  EnergyMeter meter_{{kRangeUj, kMostW}};
};

TEST_F(EnergyMeterTest, TheFirstReadingIsABaseline) {
  EXPECT_EQ(take(1000, 5).outcome, Outcome::too_early);
  EXPECT_EQ(meter_.ready_at_ns(), 1'050'000'000);
}

TEST_F(EnergyMeterTest, PowerIsEnergyOverTime) {
  take(0, 1'000'000);
  expect_power(take(100, 5'000'000), 40);
}

TEST_F(EnergyMeterTest, AWindowOfLessThan50MsIsTooEarly) {
  take(0, 0);
  EXPECT_EQ(take(49, 49'000).outcome, Outcome::too_early);
  expect_power(take(50, 100'000), 2);
}

TEST_F(EnergyMeterTest, ASlowReaderGetsTheEnergyBetweenTwoReads) {
  take(0, 0);
  expect_power(take(1000, 10'000'000), 10);
  expect_power(take(1050, 12'000'000), 40);
  expect_power(take(3050, 12'500'000), 0.25);
}

TEST_F(EnergyMeterTest, AFastReaderGetsAWindowThatSlides) {
  take(0, 0);
  // 10 W for 100 ms, then 50 W, read every 10 ms.
  long long energy_uj = 500'000;
  expect_power(take(50, energy_uj), 10);
  for (std::int64_t at = 60; at <= 100; at += 10) {
    expect_power(take(at, energy_uj += 100'000), 10);
  }
  // Both anchors are behind: windows are 60 to 100 ms long, and the old power leaves them.
  expect_power(take(110, energy_uj += 500'000), (5 * 10 + 50) / 6.0);
  for (std::int64_t at = 120; at <= 190; at += 10) {
    take(at, energy_uj += 500'000);
  }
  expect_power(take(200, energy_uj += 500'000), 50);
}

TEST_F(EnergyMeterTest, NoWindowOfAFastReaderIsLongerThan100Ms) {
  take_at(0, 20);
  std::int64_t step = 50;
  // A pulse of one joule at 1000 ms must have left the windows 100 ms later.
  for (std::int64_t at = 50; at <= 1500; at += step) {
    const long long pulse = at >= 1000 ? 1'000'000 : 0;
    const EnergyMeter::Taken taken = take(at, 20'000 * at + pulse);
    ASSERT_EQ(taken.outcome, Outcome::measured) << at;
    if (at >= 1000 && at < 1050) {
      EXPECT_GT(taken.power_w, 25) << at;
    } else if (at < 1000 || at >= 1100) {
      EXPECT_NEAR(taken.power_w, 20, 1e-9) << at;
    }
    step = 1;
  }
}

TEST_F(EnergyMeterTest, AReaderWhoSlowsDownGetsTheEnergySinceHisLastRead) {
  take_at(0, 10);
  take_at(1000, 10);
  expect_power(take(1010, 10'000'000 + 900'000), 10.9 / 1.010);  // the window goes further back
  expect_power(take(2010, 10'900'000 + 30'000'000), 30);
  expect_power(take(2020, 40'900'000 + 300'000), 30);  // from 1010, no further
}

TEST_F(EnergyMeterTest, TheCounterWrapsAtItsRangePlusOne) {
  take(0, kRangeUj - 999'999);
  expect_power(take(100, 3'000'000), 40);
}

TEST_F(EnergyMeterTest, ReadingsThatCouldBeTwoWrapsApartAreTooRare) {
  take(0, 0);
  // 262143 J last 262 s at 1000 W.
  expect_power(take(262'000, 262'000'000), 1);
  EXPECT_EQ(take(262'000 + 262'144, 262'500'000).outcome, Outcome::too_rare);
  EXPECT_EQ(meter_.longest_window_ns(), 262'143'328'850);
  expect_power(take(262'000 + 262'244, 262'500'000 + 1'000'000), 10);
}

TEST_F(EnergyMeterTest, MeasuringStartsAnewAfterARejection) {
  take(0, 200'000'000'000);
  expect_power(take(1000, 200'010'000'000), 10);
  EXPECT_EQ(take(2000, 5).outcome, Outcome::rejected);  // a reset, which looks like a wrap
  EXPECT_EQ(meter_.ready_at_ns(), 2'050'000'000);
  EXPECT_EQ(take(2010, 100'000).outcome, Outcome::too_early);
  expect_power(take(2050, 1'000'005), 20);
}

TEST_F(EnergyMeterTest, NoPowerFromBeforeARejectionIsRepeated) {
  take(0, 200'000'000'000);
  expect_power(take(1000, 200'010'000'000), 10);
  EXPECT_EQ(take(2000, 5).outcome, Outcome::rejected);
  EXPECT_EQ(take(2050, 5).outcome, Outcome::too_early);
}

TEST_F(EnergyMeterTest, APowerThatCannotBeIsRejected) {
  take(0, 0);
  EXPECT_EQ(take(100, 100'000'001).outcome, Outcome::rejected);
  expect_power(take(200, 200'000'001), 1000);
}

TEST_F(EnergyMeterTest, WithoutAKnownRangeAStepDownIsRejected) {
  meter_ = EnergyMeter({0, kMostW});
  take(0, 1'000'000);
  EXPECT_EQ(take(100, 999'999).outcome, Outcome::rejected);
  expect_power(take(200, 1'999'999), 10);
}

TEST_F(EnergyMeterTest, WithoutAKnownRangeAWindowCanBeOfAnyLength) {
  meter_ = EnergyMeter({0, kMostW});
  take(0, 0);
  expect_power(take(100'000'000, 1'000'000'000'000), 10);
}

TEST_F(EnergyMeterTest, ACounterThatHasNotMovedRepeatsTheLastPower) {
  take(0, 0);
  expect_power(take(100, 1'000'000), 10);
  expect_power(take(200, 1'000'000), 10);
  expect_power(take(1099, 1'000'000), 10);
  EXPECT_EQ(take(1100, 1'000'000).outcome, Outcome::stuck);
}

TEST_F(EnergyMeterTest, WhatComesAfterAStandstillIsSpreadOverIt) {
  take(0, 0);
  expect_power(take(100, 1'000'000), 10);
  expect_power(take(200, 1'000'000), 10);
  expect_power(take(300, 3'000'000), 10);
}

TEST_F(EnergyMeterTest, ACounterThatNeverMovedIsAskedAgainForASecond) {
  take(0, 7);
  EXPECT_EQ(take(50, 7).outcome, Outcome::too_early);
  EXPECT_EQ(meter_.ready_at_ns(), 100'000'000);
  EXPECT_EQ(take(999, 7).outcome, Outcome::too_early);
  EXPECT_EQ(take(1000, 7).outcome, Outcome::stuck);
  expect_power(take(2000, 2'000'007), 1);
}

/// A meter of a counter of 60 W that moves at every multiple of an interval only.
class SlowCounterTest : public EnergyMeterTest {
 protected:
  EnergyMeter::Taken take_slow(std::int64_t at_ms) {
    return take(at_ms, at_ms / interval_ms_ * interval_ms_ * 60'000);
  }
  /// After the first powers, which nothing is known for.
  void expect_powers(std::int64_t period_ms, double least_w, double most_w) {
    for (std::int64_t at = 0; at < 60'000; at += period_ms) {
      const EnergyMeter::Taken taken = take_slow(at);
      if (at > 1000) {
        ASSERT_EQ(taken.outcome, Outcome::measured) << at;
        ASSERT_GE(taken.power_w, least_w) << at;
        ASSERT_LE(taken.power_w, most_w) << at;
      }
    }
  }
  std::int64_t interval_ms_ = 100;
};

TEST_F(SlowCounterTest, ReadFasterThanItMovesItShowsItsPowerWithinAnEighth) {
  expect_powers(70, 52.5, 67.5);
}

TEST_F(SlowCounterTest, ReadVeryFastItShowsItsPower) {
  expect_powers(1, 60 - 1e-9, 60 + 1e-9);
}

TEST_F(SlowCounterTest, ReadALittleFasterThanItMovesItShowsItsPowerWithinAnEighthToo) {
  expect_powers(95, 52.5, 67.5);
}

TEST_F(SlowCounterTest, TheFirstPowerIsThatOfSeveralIntervals) {
  take_slow(0);
  EXPECT_EQ(take_slow(50).outcome, Outcome::too_early);
  EXPECT_EQ(take_slow(100).outcome, Outcome::too_early);
  EXPECT_EQ(meter_.ready_at_ns(), 400'000'000);
  expect_power(take_slow(400), 60);
}

TEST_F(SlowCounterTest, AStandstillIsForgottenWhileTheCounterMovesAtEveryReading) {
  take_at(0, 10);
  take_at(100, 10);
  take(200, 1'000'000);
  std::int64_t at = 300;
  for (; at <= 4000; at += 100) {
    take_at(at, 10);
  }
  expect_power(take(at, 10'000 * (at - 100) + 3'000'000), 30);  // the last 100 ms alone
}

TEST_F(SlowCounterTest, AfterALongStandstillASlowReaderSoonGetsTheEnergyBetweenTwoReads) {
  take_at(0, 10);
  take_at(990, 10);
  EXPECT_EQ(take(1990, 9'900'000).outcome, Outcome::stuck);
  take_at(31'000, 10);
  take_at(31'990, 10);
  expect_power(take(32'980, 319'900'000 + 29'700'000), 30);
}

}  // namespace
}  // namespace linux_machine
