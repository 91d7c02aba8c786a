#include "lab/analysis/power_window.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace lab {
namespace {

// A load of 40 W with leakage of 0.1 W/K into a single node of 0.5 K/W and 2 s.
std::vector<PowerTone> tones(double window_s, double noise, std::mt19937_64& random) {
  std::normal_distribution<double> normal(0, noise);
  std::vector<PowerTone> all;
  for (const double frequency_hz : {0.02, 0.1, 0.5, 2.0}) {
    const std::complex<double> load(0.2, -0.3);
    const std::complex<double> node =
        0.5 / std::complex<double>(1, 2 * 3.14159265358979 * frequency_hz * 2);
    const std::complex<double> power = 40.0 * load / (1.0 - 0.1 * node);
    const std::complex<double> error(noise > 0 ? normal(random) : 0,
                                     noise > 0 ? normal(random) : 0);
    all.push_back({.frequency_hz = frequency_hz,
                   .power = power * window_response(window_s, window_s / 2, frequency_hz) + error,
                   .power_variance = noise * noise,
                   .freedom = 30,
                   .load = load,
                   .heat_k = node * power});
  }
  return all;
}

TEST(PowerWindow, OfASinusoidIsTheMeanOverIt) {
  constexpr double kFrequency = 0.7;
  constexpr double kWindow = 0.31;
  std::complex<double> sum = 0;
  constexpr int kParts = 10000;
  for (int part = 0; part < kParts; ++part) {
    const double back_s = kWindow * (part + 0.5) / kParts;
    sum += std::polar(1.0 / kParts, -2 * 3.141592653589793 * kFrequency * back_s);
  }
  EXPECT_NEAR(std::abs(sum - window_response(kWindow, kWindow / 2, kFrequency)), 0, 1e-8);
}

TEST(PowerWindow, IsFoundBesideLeakage) {
  std::mt19937_64 random(1);
  const PowerWindow found = power_window(tones(0.1, 0, random));
  EXPECT_TRUE(found.known);
  EXPECT_NEAR(found.window.value, 0.1, 1e-5);
  EXPECT_NEAR(found.lag.value, 0.05, 1e-6);
  EXPECT_NEAR(found.watts, 40, 1e-3);
  EXPECT_NEAR(found.watts_a_kelvin, 0.1, 1e-3);
}

TEST(PowerWindow, IsCoveredByItsInterval) {
  std::mt19937_64 random(2);
  int covered = 0;
  constexpr int kRounds = 300;
  for (int round = 0; round < kRounds; ++round) {
    const PowerWindow found = power_window(tones(0.1, 0.2, random));
    covered += found.window.low <= 0.1 && found.window.high >= 0.1 ? 1 : 0;
    covered += found.lag.low <= 0.05 && found.lag.high >= 0.05 ? 1 : 0;
  }
  EXPECT_GE(covered, 2 * 0.92 * kRounds);
}

// A counter that is brought up to date only now and then.
TEST(PowerWindow, MayLagByMoreThanHalfOfIt) {
  std::mt19937_64 random(4);
  std::vector<PowerTone> late = tones(0.1, 0, random);
  for (PowerTone& tone : late) {
    tone.power *= std::polar(1.0, -2 * 3.141592653589793 * tone.frequency_hz * 0.004);
  }
  const PowerWindow found = power_window(late);
  EXPECT_NEAR(found.window.value, 0.1, 1e-5);
  EXPECT_NEAR(found.lag.value, 0.054, 1e-6);
}

TEST(PowerWindow, BetweenTwoHoldsTheIntervalsOfBoth) {
  std::mt19937_64 random(5);
  const PowerWindow one = power_window(tones(0.1, 0.01, random));
  const PowerWindow other = power_window(tones(0.12, 0.01, random));
  const PowerWindow both = between(one, other);
  EXPECT_NEAR(both.window.value, 0.11, 0.003);
  EXPECT_LE(both.window.low, one.window.low);
  EXPECT_GE(both.window.high, other.window.high);
}

TEST(PowerWindow, IsNotKnownFromSlowSwingsInNoise) {
  std::mt19937_64 random(3);
  std::vector<PowerTone> slow = tones(0.1, 2, random);
  slow.resize(1);
  EXPECT_FALSE(power_window(slow).known);
}

}  // namespace
}  // namespace lab
