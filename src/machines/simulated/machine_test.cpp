#include "machines/simulated/machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "support/fake_simulation.h"
#include "support/milliseconds.h"

namespace simulated {
namespace {

const Key& key(const char (&name)[5]) {
  return *find_key(four_characters(name));
}

double value(Machine& machine, const char (&name)[5]) {
  return key(name).type.decode(machine.read(key(name)));
}

TEST(Machine, ProcessorTimeOverTheProcessorsIsTheUtilisation) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(4));
  fake.pass(1000 * kMs, 2000 * kMs);
  Model half;
  half.advance(1000 * kMs, 0.5);
  EXPECT_EQ(machine.inspect().energy_j(), half.energy_j());
}

TEST(Machine, ProcessorTimeFromBeforeItsOwnBeginningDoesNotCount) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(1));
  fake.pass(1000 * kMs, 0);
  EXPECT_NEAR(value(machine, "PC0C"), Model().power_w(), 0.003);
}

TEST(Machine, AsksForProcessorTimeAtMostOnceAMillisecond) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(1));
  fake.processor_time_calls = 0;
  for (int i = 0; i < 10'000; ++i) {
    fake.pass(1000, 1000);
    machine.read(key("PC0C"));
  }
  EXPECT_EQ(fake.processor_time_calls, 10);
}

// A run that does not sample asks the machine once, at its end: that must not take minutes.
TEST(Machine, OfAVeryLongStretchCalculatesTheLastTwentyMinutes) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(2));
  constexpr std::int64_t kWeek = 7LL * 24 * 3600 * 1000 * kMs;
  fake.pass(kWeek, 2 * kWeek);
  Model twenty_minutes;
  twenty_minutes.advance(1'200'000 * kMs, 1.0);
  EXPECT_EQ(machine.inspect().sink_c(), twenty_minutes.sink_c());
  EXPECT_EQ(machine.inspect().power_w(), twenty_minutes.power_w());
  EXPECT_EQ(value(machine, "Uptm"), 7 * 24 * 3600);
}

TEST(Machine, ReadsInQuickSuccessionSeeOnePower) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(2));
  fake.pass(500 * kMs, 1000 * kMs);
  const double first = value(machine, "PC0C");
  for (int i = 0; i < 2000; ++i) {
    fake.pass(10'000, 20'000);
    ASSERT_NEAR(value(machine, "PC0C"), first, 0.2);
  }
}

TEST(Machine, ProcessorTimeThatComesInLumpsIsNeitherLostNorASpike) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(2));
  // Two busy processors, whose time the kernel brings up to date every 4 ms.
  for (int i = 1; i <= 1000; ++i) {
    fake.pass(kMs, i % 4 == 0 ? 8 * kMs : 0);
    const double power = value(machine, "PC0C");
    if (i > 200) {
      ASSERT_NEAR(power, 82, 4) << i;
    }
  }
  Model smooth;
  smooth.advance(1000 * kMs, 1);
  EXPECT_NEAR(machine.inspect().energy_j(), smooth.energy_j(), 0.01 * smooth.energy_j());
}

TEST(Machine, ProcessorTimeOfUncountedProcessorsIsNotOwedForEver) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(1));
  for (int i = 0; i < 100; ++i) {
    fake.pass(100 * kMs, 200 * kMs);
    machine.inspect();
  }
  fake.pass(100 * kMs, 0);  // the most that is owed
  machine.inspect();
  fake.pass(100 * kMs, 0);
  EXPECT_LT(value(machine, "PC0C"), 25);
}

TEST(Machine, SameHistoryGivesTheSameReadings) {
  const auto live = [] {
    FakeSurroundings fake;
    Machine machine(fake.surroundings(3));
    std::vector<std::uint32_t> readings;
    for (int i = 0; i < 300; ++i) {
      fake.pass(17 * kMs + std::int64_t{i} * 31, i % 40 * kMs);
      if (i == 100) {
        machine.write(key("F0Tg"), 0);
        machine.write(key("FS! "), 1);
      }
      for (const Key& k : all_keys()) {
        readings.push_back(machine.read(k));
      }
    }
    return readings;
  };
  EXPECT_EQ(live(), live());
}

/// Busy time of `processors` processors up to `t_s` under a 20 Hz pulse-width-modulated load whose
/// duty swings between 0 and 1 at 0.1 Hz.
double modulated_busy_s(double t_s, int processors) {
  constexpr double kSlotS = 0.05;
  double busy = 0;
  for (int slot = 0; slot * kSlotS < t_s; ++slot) {
    const double duty = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * slot / 200);
    busy += std::min(duty * kSlotS, t_s - slot * kSlotS);
  }
  return busy * processors;
}

TEST(Machine, TenReadingsASecondShowTheEnvelopeOfAModulatedLoad) {
  FakeSurroundings fake;
  const std::int64_t start_ns = fake.now_ns;
  const std::int64_t start_busy_ns = fake.processor_time_ns;
  Machine machine(fake.surroundings(2));
  constexpr int kSamples = 300;  // three periods
  constexpr double kLatenessS[] = {0.0001, 0.0008, 0.0003, 0.0015, 0.0002};
  std::vector<double> times;
  std::vector<double> power;
  for (int i = 1; i <= kSamples; ++i) {
    const double t = i * 0.1 + kLatenessS[i % 5];
    fake.now_ns = start_ns + std::llround(t * 1e9);
    fake.processor_time_ns = start_busy_ns + std::llround(modulated_busy_s(t, 2) * 1e9);
    times.push_back(t);
    power.push_back(value(machine, "PC0C"));
  }
  // Mean, fundamental and second harmonic (the leakage is not linear) of the last two periods.
  std::array<std::complex<double>, 3> wave{};
  constexpr int kFirst = 100;
  for (int i = kFirst; i < kSamples; ++i) {
    for (std::size_t n = 0; n < wave.size(); ++n) {
      wave[n] += power[static_cast<std::size_t>(i)] *
                 std::polar(1.0 / (kSamples - kFirst), -2 * std::numbers::pi * 0.1 *
                                                           static_cast<double>(n) *
                                                           times[static_cast<std::size_t>(i)]);
    }
  }
  EXPECT_NEAR(2 * std::abs(wave[1]), 35.7, 0.7);
  EXPECT_LT(2 * std::abs(wave[2]), 0.7);
  for (std::size_t i = kFirst; i < kSamples; ++i) {
    double fit = wave[0].real();
    for (std::size_t n = 1; n < wave.size(); ++n) {
      fit += 2 * (wave[n] *
                  std::polar(1.0, 2 * std::numbers::pi * 0.1 * static_cast<double>(n) * times[i]))
                     .real();
    }
    EXPECT_NEAR(power[i], fit, 2.5) << times[i];
  }
}

TEST(Machine, WritesTakeEffectFromTheirOwnMomentOn) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(1));
  fake.pass(60'000 * kMs, 0);
  machine.write(key("F0Tg"), key("F0Tg").type.encode(5000));
  machine.write(key("FS! "), 1);
  EXPECT_EQ(value(machine, "F0Ac"), 800);
  fake.pass(1500 * kMs, 0);
  EXPECT_NEAR(value(machine, "F0Ac"), 800 + 4200 * 0.632, 5);
}

TEST(Machine, ForcedPStateLowersThePowerUntilItIsReleased) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(1));
  ASSERT_TRUE(machine.claim_pstates());
  machine.force_pstate(7);
  fake.pass(1000 * kMs, 1000 * kMs);
  EXPECT_EQ(machine.inspect().forced_pstate(), 7U);
  const double slow = value(machine, "PC0C");
  machine.release_pstates();
  fake.pass(1000 * kMs, 1000 * kMs);
  EXPECT_EQ(machine.inspect().forced_pstate(), std::nullopt);
  EXPECT_NEAR(value(machine, "PC0C") - slow, 70 * (1 - 0.1836), 2);
}

TEST(Machine, PStatesHaveOneUserAtATime) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(1));
  EXPECT_TRUE(machine.claim_pstates());
  EXPECT_FALSE(machine.claim_pstates());
  machine.release_pstates();
  EXPECT_TRUE(machine.claim_pstates());
}

TEST(Machine, MayBeChangedByEffectiveUser0Only) {
  FakeSurroundings fake;
  const Machine machine(fake.surroundings(1));
  EXPECT_TRUE(machine.may_change());
  fake.effective_user = 1000;
  EXPECT_FALSE(machine.may_change());
}

TEST(Machine, InspectionIsACopy) {
  FakeSurroundings fake;
  Machine machine(fake.surroundings(1));
  machine.inspect().fans().set_force_bits(7);
  EXPECT_EQ(machine.inspect().fans().force_bits(), 0);
}

TEST(RealSurroundings, ClockAndProcessorTimeRunWhileThisProcessWorks) {
  const Surroundings real = real_surroundings();
  const std::int64_t now = real.now_ns();
  const std::int64_t busy = real.processor_time_ns();
  while (real.processor_time_ns() < busy + 20 * kMs) {
  }
  // One thread uses no more processor time than there is time; the kernel counts to some ms.
  EXPECT_GE(real.now_ns() - now, 10 * kMs);
  EXPECT_GE(real.processors, 1);
}

}  // namespace
}  // namespace simulated
