#include "lab/analysis/lock_in.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace lab {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

std::vector<double> instants(double length_s, double step_s) {
  std::vector<double> time_s;
  for (double at = 0; at < length_s; at += step_s) {
    time_s.push_back(100 + at + 0.2 * step_s * std::sin(at * 7));  // not even
  }
  return time_s;
}

TEST(LockIn, FindsTonesBesideATransientAndSlowHeating) {
  const std::vector<double> time_s = instants(60, 0.087);
  std::vector<double> values;
  for (const double at : time_s) {
    const double t = at - time_s.front();
    values.push_back(20 + 0.3 * t + 5 * std::exp(-t / 9) + 2 * std::cos(kTurn * 0.05 * t - 0.5) +
                     0.1 * std::cos(kTurn * 1.1 * t + 1.2));
  }
  const std::vector<LockedIn> found = lock_in(time_s, {values}, {0.05, 1.1});
  ASSERT_EQ(found[0].tones.size(), 2U);
  EXPECT_NEAR(std::abs(found[0].tones[0].value), 2, 0.01);
  EXPECT_NEAR(std::arg(found[0].tones[0].value), -0.5, 0.005);
  EXPECT_NEAR(std::abs(found[0].tones[1].value), 0.1, 0.0005);
  EXPECT_NEAR(std::arg(found[0].tones[1].value), 1.2, 0.005);
}

TEST(LockIn, LeavesOutWhatWasNotMeasured) {
  const std::vector<double> time_s = instants(40, 0.05);
  std::vector<double> whole;
  std::vector<double> holes;
  for (std::size_t at = 0; at < time_s.size(); ++at) {
    whole.push_back(std::cos(kTurn * 0.25 * (time_s[at] - time_s.front())));
    holes.push_back(at % 7 == 0 ? whole.back() : std::numeric_limits<double>::quiet_NaN());
  }
  const std::vector<LockedIn> found = lock_in(time_s, {whole, holes}, {0.25});
  EXPECT_EQ(found[0].measured, time_s.size());
  EXPECT_EQ(found[1].measured, (time_s.size() + 6) / 7);
  EXPECT_NEAR(std::abs(found[1].tones[0].value), 1, 1e-6);
  EXPECT_NEAR(found[1].residual_rms, 0, 1e-6);
}

TEST(LockIn, SaysNothingOfTooFewValues) {
  const std::vector<double> time_s = instants(1, 0.1);
  const std::vector<double> values(time_s.size(), 1.0);
  EXPECT_TRUE(lock_in(time_s, {values}, {2.0})[0].tones.empty());
}

// Noise that is strong at the tone and weak elsewhere, and the other way round: what counts is what
// is at the tone.
TEST(LockIn, TakesTheVarianceFromTheFrequenciesBesideTheTone) {
  const std::vector<double> time_s = instants(200, 0.1);
  std::mt19937_64 random(3);
  std::normal_distribution<double> normal(0, 1);
  constexpr double kMemory = 0.97;
  double squares = 0;
  double variance = 0;
  double slow_variance = 0;
  double fast_variance = 0;
  constexpr int kRounds = 200;
  for (int round = 0; round < kRounds; ++round) {
    std::vector<double> values;
    double drift = 0;
    for (std::size_t at = 0; at < time_s.size(); ++at) {
      drift = kMemory * drift + normal(random);
      values.push_back(drift);
    }
    const LockedIn found = lock_in(time_s, {values}, {0.1, 3.0})[0];
    squares += std::norm(found.tones[1].value) / 2;
    variance += found.tones[1].variance;
    slow_variance += found.tones[0].variance;
    fast_variance += found.tones[1].variance;
  }
  EXPECT_NEAR(variance / squares, 1, 0.25);
  EXPECT_GT(slow_variance, 50 * fast_variance);
}

// The fit leaves no noise at a tone: to look for it there makes a tone among others too sure.
TEST(LockIn, TakesNoVarianceFromFrequenciesThatAreOtherTones) {
  const std::vector<double> time_s = instants(100, 0.1);
  const std::vector<double> frequencies_hz{0.94, 0.96, 0.98, 1.0, 1.02, 1.04, 1.06};
  std::mt19937_64 random(7);
  std::normal_distribution<double> normal(0, 1);
  double squares = 0;
  double variance = 0;
  constexpr int kRounds = 100;
  for (int round = 0; round < kRounds; ++round) {
    std::vector<double> values(time_s.size());
    std::generate(values.begin(), values.end(), [&] { return normal(random); });
    const LockedIn found = lock_in(time_s, {values}, frequencies_hz)[0];
    for (const Tone& tone : found.tones) {
      squares += std::norm(tone.value) / 2;
      variance += tone.variance;
    }
  }
  EXPECT_NEAR(variance / squares, 1, 0.15);
}

TEST(LockIn, CoversInNinetyFiveOfAHundred) {
  const std::vector<double> time_s = instants(60, 0.1);
  std::mt19937_64 random(5);
  std::normal_distribution<double> normal(0, 1);
  constexpr double kMemory = 0.9;
  constexpr int kRounds = 400;
  int covered = 0;
  for (int round = 0; round < kRounds; ++round) {
    std::vector<double> values;
    double drift = 0;
    for (const double at : time_s) {
      drift = kMemory * drift + normal(random);
      values.push_back(drift + 4 * std::cos(kTurn * 0.05 * (at - time_s.front())));
    }
    const Tone tone = lock_in(time_s, {values}, {0.05})[0].tones[0];
    // Two squares of one variance over another: F with 2 and `freedom` degrees, of which
    // (freedom / 2) (0.05^(-2 / freedom) - 1) is exceeded once in twenty times.
    const double limit = tone.freedom / 2 * (std::pow(0.05, -2 / tone.freedom) - 1);
    covered += std::norm(tone.value - 4.0) <= 2 * limit * tone.variance ? 1 : 0;
  }
  EXPECT_GE(covered, 0.92 * kRounds);
  EXPECT_LE(covered, 0.99 * kRounds);
}

}  // namespace
}  // namespace lab
