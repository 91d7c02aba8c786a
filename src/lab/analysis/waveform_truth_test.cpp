#include "lab/analysis/waveform_truth.h"

#include <gtest/gtest.h>

#include <cmath>

#include "lab/fakes/fake_waveform.h"

namespace lab {
namespace {

WaveformTruth truth_of(const FakeWaveform& wave) {
  Stimulus stimulus;
  const Stretch stretch = wave.add_to(stimulus);
  return waveform_truth(stimulus, stretch, wave.carrier_hz);
}

TEST(WaveformTruth, FindsHowLateThreadsAreAndHowFarApart) {
  const WaveformTruth truth = truth_of({});
  EXPECT_EQ(truth.periods, 1000U);
  EXPECT_NEAR(truth.on.at(0), 5, 1e-6);
  EXPECT_NEAR(truth.on.at(0.99), 8, 1e-6);
  EXPECT_NEAR(truth.off.at(0.99), 5, 1e-6);
  EXPECT_NEAR(truth.skew.at(0.5), 3, 1e-6);
  EXPECT_EQ(truth.on.missed(), 0U);
  EXPECT_NEAR(truth.duty_asked, 0.5, 1e-9);
  EXPECT_NEAR(truth.duty_between, 0.5 - 1.5e-6 / 0.01, 1e-7);
}

TEST(WaveformTruth, TakesTheKernelsAccountForTheDuty) {
  const WaveformTruth truth = truth_of({.skew_us = 0, .kept_away = 0.01});
  EXPECT_NEAR(truth.duty_between, 0.5, 1e-6) << "what the engine itself saw";
  ASSERT_TRUE(truth.duty.has_value());
  EXPECT_NEAR(truth.duty->value, 0.495, 1e-4);
  EXPECT_LE(truth.duty->low, truth.duty->value);
  EXPECT_LT(truth.duty->high, 0.4999);
}

TEST(WaveformTruth, FindsAFrequencyThatIsOff) {
  const WaveformTruth truth = truth_of({.noise_us = 20, .slow = 1e-5});
  ASSERT_TRUE(truth.frequency.has_value());
  EXPECT_NEAR(truth.frequency->value, 100 / (1 + 1e-5), 1e-5);
  EXPECT_LE(truth.frequency->low, 100 / (1 + 1e-5));
  EXPECT_GE(truth.frequency->high, 100 / (1 + 1e-5));
  EXPECT_LT(truth.frequency->high, 100);
}

TEST(WaveformTruth, CountsOnPhasesThatAThreadLeftOut) {
  const WaveformTruth truth = truth_of({.missed_every = 10});
  EXPECT_EQ(truth.on.count(), 2000U);
  EXPECT_EQ(truth.on.missed(), 100U);
  EXPECT_EQ(truth.skew.missed(), 100U);
  EXPECT_TRUE(std::isinf(truth.skew.at(0.99)));
}

TEST(WaveformTruth, AThreadThatLeavesBeforeTheOffEdgeHasNotFollowedIt) {
  Stimulus stimulus;
  const FakeWaveform wave{.periods = 100};
  const Stretch stretch = wave.add_to(stimulus);
  for (Stimulus::Follow& follow : stimulus.follows) {
    if (!follow.on && follow.thread == 1) {
      follow.instant_ns -= 1'000'000;
    }
  }
  const WaveformTruth truth = waveform_truth(stimulus, stretch, wave.carrier_hz);
  EXPECT_EQ(truth.off.count(), 200U);
  EXPECT_EQ(truth.off.missed(), 100U);
}

TEST(WaveformTruth, OfTwoPeriodsNothingIsKnown) {
  const WaveformTruth truth = truth_of({.periods = 2});
  EXPECT_EQ(truth.periods, 0U);
  EXPECT_EQ(truth.on.count(), 0U);
}

TEST(WaveformTruth, SamplesAreJudgedByTheirGrid) {
  Stimulus stimulus;
  for (const double elapsed_s : {0.0001, 0.0202, 0.0403, 0.1001}) {
    stimulus.samples.push_back({.instant_ns = 0, .elapsed_s = elapsed_s});
  }
  const Spread behind = behind_the_grid(stimulus, 50);
  EXPECT_EQ(behind.missed(), 2U);  // 0.06 and 0.08
  EXPECT_NEAR(behind.most(), 300, 0.1);
  EXPECT_NEAR(behind.at(0), 100, 0.1);
}

}  // namespace
}  // namespace lab
