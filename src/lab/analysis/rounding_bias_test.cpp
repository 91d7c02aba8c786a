#include "lab/analysis/rounding_bias.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace lab {
namespace {

// The amplitude that a lock-in finds in a sinusoid around `mean` that is rounded to whole numbers.
double rounded_amplitude(double amplitude, double mean, double noise, std::mt19937_64& random) {
  std::normal_distribution<double> normal(0, 1);
  constexpr int kLooks = 5000;
  double sum = 0;
  for (int look = 0; look < kLooks; ++look) {
    const double wave = std::cos(2 * 3.141592653589793 * (look + 0.5) / kLooks);
    sum += 2.0 / kLooks * wave * std::round(mean + amplitude * wave + noise * normal(random));
  }
  return sum;
}

TEST(RoundingBias, BoundsWhatRoundingDoesToASinusoidWhereverItsMeanIs) {
  std::mt19937_64 random(1);
  for (const double amplitude : {0.1, 0.3, 0.6, 1.0, 2.7, 9.3}) {
    for (const double noise : {0.0, 0.1, 0.25}) {
      double worst = 0;
      for (int place = 0; place < 20; ++place) {
        const double found = rounded_amplitude(amplitude, place / 20.0, noise, random);
        worst = std::max(worst, std::abs(found - amplitude));
      }
      const double bound = rounding_bias(amplitude, 1, noise);
      EXPECT_LE(worst, bound + 0.02) << amplitude << ' ' << noise;
      EXPECT_GE(worst, 0.3 * bound - 0.02) << amplitude << ' ' << noise;
    }
  }
}

TEST(RoundingBias, IsGoneWithNoiseOfHalfAStepAndWithoutAStep) {
  EXPECT_LT(rounding_bias(0.3, 1, 0.5), 0.005);
  EXPECT_EQ(rounding_bias(0.3, 0, 0), 0);
}

}  // namespace
}  // namespace lab
