#include "lab/analysis/aliases.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(Aliases, OfAFrequencyLieWithinHalfTheRate) {
  EXPECT_DOUBLE_EQ(folded_hz(3, 10), 3);
  EXPECT_DOUBLE_EQ(folded_hz(7, 10), 3);
  EXPECT_DOUBLE_EQ(folded_hz(20, 10), 0);
  EXPECT_DOUBLE_EQ(folded_hz(-19, 10), 1);
}

TEST(Aliases, OfASideBandFallOnTheFrequencyIfTheCarrierIsAMultipleOfTheRate) {
  const Together one{.frequencies_hz = {0.5}, .base_hz = 0.5, .length_s = 60};
  EXPECT_NEAR(nearest_alias(one, {.carrier_hz = 20, .rate_hz = 10}), 0, 1e-9);
  EXPECT_GT(nearest_alias(one, {.carrier_hz = 23.3, .rate_hz = 10}), 5);
}

TEST(Aliases, OfAFrequencyThatTheSamplesCannotShowAreOnIt) {
  const Together one{.frequencies_hz = {6}, .base_hz = 6, .length_s = 60};
  EXPECT_EQ(nearest_alias(one, {.carrier_hz = 200, .rate_hz = 10}), 0);
}

TEST(Aliases, OfAMultipleFallOnTheFrequencyAtFiveSamplesAPeriod) {
  const Together one{.frequencies_hz = {2}, .base_hz = 2, .length_s = 60};
  EXPECT_NEAR(nearest_alias(one, {.carrier_hz = 203.3, .rate_hz = 10}), 0, 1e-9);
}

TEST(Aliases, OfTheSeventhMultipleFallOnTheFrequencyAtEightSamplesAPeriod) {
  const Together one{.frequencies_hz = {1.25}, .base_hz = 1.25, .length_s = 60};
  EXPECT_NEAR(nearest_alias(one, {.carrier_hz = 203.3, .rate_hz = 10}), 0, 1e-9);
}

TEST(Aliases, OfSeveralFrequenciesLieBetweenMultiplesOfTheirBaseAtBest) {
  const Together several{.frequencies_hz = {0.02, 0.1, 1}, .base_hz = 0.02, .length_s = 150};
  EXPECT_NEAR(nearest_alias(several, {.carrier_hz = 50, .rate_hz = 10}), 0, 1e-6);
  const Rates found = without_aliases({several}, {.carrier_hz = 50, .rate_hz = 10});
  EXPECT_GT(nearest_alias(several, found), 0.5);
}

TEST(Rates, WithoutAliasesAreAtLeastWhatIsAskedForAndLittleMore) {
  const std::vector<Together> stretches{{.frequencies_hz = {0.05}, .base_hz = 0.05, .length_s = 70},
                                        {.frequencies_hz = {0.5}, .base_hz = 0.5, .length_s = 30},
                                        {.frequencies_hz = {2}, .base_hz = 2, .length_s = 30}};
  const Rates least{.carrier_hz = 100, .rate_hz = 20};
  const Rates found = without_aliases(stretches, least);
  EXPECT_GE(found.carrier_hz, 100);
  EXPECT_LE(found.carrier_hz, 126);
  EXPECT_GE(found.rate_hz, 20);
  EXPECT_LE(found.rate_hz, 25);
  for (const Together& stretch : stretches) {
    EXPECT_GT(nearest_alias(stretch, found), 10) << stretch.frequencies_hz[0];
  }
}

TEST(CommonFrequency, IsThatOfWhichAllAreMultiples) {
  EXPECT_DOUBLE_EQ(common_hz({0.3}), 0.3);
  EXPECT_DOUBLE_EQ(common_hz({0.02, 0.06, 1}), 0.02);
  EXPECT_DOUBLE_EQ(common_hz({0.02, 0.05, 1}), 0.01);
}

}  // namespace
}  // namespace lab
