#include "lab/analysis/reading_span.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace lab {
namespace {

using testing::ElementsAre;

TEST(ReadingPeriod, IsThatAtWhichMostSamplesCome) {
  EXPECT_DOUBLE_EQ(reading_period(std::vector<double>{0, 1, 2, 3.5, 4, 5, 6, 7, 8}), 1);
}

TEST(ReadingPeriod, IsNoMatterWhereSamplesComeAtEvenDistances) {
  EXPECT_EQ(reading_period(std::vector<double>{0, 1, 2, 3.01, 4}), 0);
  EXPECT_EQ(reading_period(std::vector<double>{0, 1}), 0);
}

TEST(ReadingPeriod, IsNothingOfARecordThatIsDenserInPlaces) {
  EXPECT_EQ(reading_period(std::vector<double>{0, 0.1, 0.2, 0.4, 0.8, 1.6, 2.6, 3.6, 4.6, 5.6}), 0);
}

// 80 W, off from 2.75 s to 3.5 s, when the sample that was due at 3 s is taken.
const std::vector<double> kTime_s{0, 1, 2, 3.5, 4, 5};

TEST(SinceBefore, AShortReadingRepeatsPartOfTheOneBefore) {
  // The late one is the mean of all its time, 40 W; the next also holds half a second of that.
  const std::vector<double> heat{80, 80, 80, 40, 60, 80};
  EXPECT_THAT(since_before(kTime_s, heat, ReadingSpan::period_or_more, 1),
              ElementsAre(80, 80, 80, 40, 80, 80));
}

TEST(SinceBefore, ALateReadingOfOnePeriodKnowsNothingOfWhatWasBeforeThat) {
  // The late one holds 0.25 s at 80 W of its last second; the half second before is not seen.
  const std::vector<double> heat{80, 80, 80, 20, 60, 80};
  const std::vector<double> mean = since_before(kTime_s, heat, ReadingSpan::last_period, 1);
  EXPECT_DOUBLE_EQ(mean[3], 40);
  EXPECT_EQ(mean[4], 80) << "as the next one";
}

TEST(SinceBefore, ReadingsSinceTheSampleBeforeAreThat) {
  const std::vector<double> heat{80, 80, 80, 40, 80, 80};
  EXPECT_EQ(since_before(kTime_s, heat, ReadingSpan::since_before, 1), heat);
}

TEST(SinceBefore, WhatIsMissingStaysSoAndTakesNoOtherAlong) {
  const std::vector<double> heat{80, 80, NAN, 40, 60, 80};
  const std::vector<double> mean = since_before(kTime_s, heat, ReadingSpan::last_period, 1);
  EXPECT_TRUE(std::isnan(mean[2]));
  EXPECT_EQ(mean[3], 40);
  EXPECT_TRUE(std::isfinite(mean[4]));
}

}  // namespace
}  // namespace lab
