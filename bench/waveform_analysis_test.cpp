#include "waveform_analysis.h"

#include <gtest/gtest.h>

namespace {

constexpr double kMicro = 1e-6;

/// The holes of a perfect waveform of `slots` slots, each on late by `late` and on for `extra`
/// longer than wanted.
std::vector<Interval> play(const std::vector<Slot>& wave, int slots, double late, double extra) {
  std::vector<Interval> holes;
  double t = 100.0;
  for (int i = 0; i < slots; ++i) {
    const Slot& slot = wave[static_cast<std::size_t>(i) % wave.size()];
    if (slot.on > 0.0) {
      holes.push_back({t + late, t + late + slot.on + extra, slot.on + extra});
    }
    t += slot.length();
  }
  return holes;
}

TEST(WaveformAnalysis, FindsNoErrorInAPerfectSquareWave) {
  const std::vector<Slot> wave = {{0.005, 0.005}};
  const Measured measured = analyse(play(wave, 100, 0.0, 0.0), wave);
  EXPECT_EQ(measured.on_errors.size(), 98U);
  EXPECT_NEAR(measured.duty, 0.5, 1e-3);
  EXPECT_NEAR(measured.frequency_error, 0.0, 1e-9);
  EXPECT_NEAR(percentile_of_absolute(measured.on_errors, 0.99), 0.0, 1e-9);
  EXPECT_NEAR(measured.on_load, 1.0, 1e-9);
  EXPECT_NEAR(measured.off_load, 0.0, 1e-9);
}

TEST(WaveformAnalysis, FindsOnTimesThatAreTooLong) {
  const std::vector<Slot> wave = {{0.005, 0.005}};
  const Measured measured = analyse(play(wave, 100, 0.0, 40 * kMicro), wave);
  EXPECT_NEAR(percentile_of_absolute(measured.on_errors, 0.5), 40 * kMicro, 1e-9);
}

TEST(WaveformAnalysis, FindsAWaveThatRunsSlow) {
  const std::vector<Slot> wanted = {{0.005, 0.005}};
  const std::vector<Slot> played = {{0.0051, 0.0051}};
  EXPECT_NEAR(analyse(play(played, 100, 0.0, 0.0), wanted).frequency_error, -0.0196, 1e-4);
}

TEST(WaveformAnalysis, LaysTheBeginningOfAShapedWaveWhereItFits) {
  std::vector<Slot> wave;
  for (int i = 0; i < 10; ++i) {
    const double level = i < 5 ? i / 5.0 : 2.0 - i / 5.0;
    wave.push_back({0.01 * level, 0.01 * (1.0 - level)});
  }
  std::vector<Interval> holes = play(wave, 60, 0.0, 0.0);
  holes.erase(holes.begin(), holes.begin() + 3);  // seen from somewhere in the middle
  const Measured measured = analyse(holes, wave);
  EXPECT_GT(measured.on_errors.size(), 30U);
  EXPECT_NEAR(percentile_of_absolute(measured.on_errors, 0.99), 0.0, 1e-9);
}

TEST(WaveformAnalysis, TakesHolesCloseTogetherForOnePhaseAndCountsWhatIsBetween) {
  const std::vector<Slot> wave = {{0.005, 0.005}};
  std::vector<Interval> holes;
  for (const Interval& on : play(wave, 50, 0.0, 0.0)) {
    holes.push_back({on.start, on.start + 0.00245, 0.00245});
    holes.push_back({on.start + 0.00255, on.end, 0.00245});
  }
  const Measured measured = analyse(holes, wave);
  EXPECT_NEAR(percentile_of_absolute(measured.on_errors, 0.99), 0.0, 1e-9);
  EXPECT_NEAR(measured.on_load, 0.98, 1e-6);
}

TEST(WaveformAnalysis, LeavesPhasesOutThatSomebodyElseUsed) {
  const std::vector<Slot> wave = {{0.005, 0.005}};
  std::vector<Interval> holes = play(wave, 100, 0.0, 0.0);
  holes[50].start -= 0.001;  // somebody else ran right before
  const Measured measured = analyse(holes, wave);
  EXPECT_EQ(measured.on_errors.size(), 97U);
  EXPECT_NEAR(measured.disturbed, 0.01, 1e-9);
  EXPECT_NEAR(percentile_of_absolute(measured.on_errors, 0.99), 0.0, 1e-9);
}

TEST(WaveformAnalysis, CountsInterruptsInTheOffPhaseAsItsLoad) {
  const std::vector<Slot> wave = {{0.005, 0.005}};
  std::vector<Interval> holes;
  for (const Interval& on : play(wave, 50, 0.0, 0.0)) {
    holes.push_back(on);
    holes.push_back({on.end + 0.0025, on.end + 0.0025 + 50 * kMicro, 0.0});
  }
  EXPECT_NEAR(analyse(holes, wave).off_load, 0.01, 1e-6);
}

TEST(WaveformAnalysis, MeasuresNothingFromTooFewPhases) {
  const std::vector<Slot> wave = {{0.005, 0.005}};
  EXPECT_TRUE(analyse(play(wave, 2, 0.0, 0.0), wave).on_errors.empty());
  EXPECT_TRUE(analyse({}, wave).on_errors.empty());
}

TEST(PercentileOfAbsolute, IsByNearestRank) {
  EXPECT_EQ(percentile_of_absolute({-4, 1, 2, -3}, 0.5), 2);
  EXPECT_EQ(percentile_of_absolute({-4, 1, 2, -3}, 0.99), 4);
  EXPECT_EQ(percentile_of_absolute({}, 0.5), 0);
}

}  // namespace
