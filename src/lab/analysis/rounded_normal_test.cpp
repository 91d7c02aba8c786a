#include "lab/analysis/rounded_normal.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lab {
namespace {

TEST(RoundedNormal, AgreesWithTheIntegralOverItsStep) {
  for (const double mean : {-2.3, -0.4, 0.0, 0.2, 0.7, 1.9}) {
    const double sigma = 0.35;
    double all = 0;
    double first = 0;
    double second = 0;
    constexpr int kParts = 20000;
    for (int part = 0; part < kParts; ++part) {
      const double x = -0.5 + (part + 0.5) / kParts;
      const double density = std::exp(-0.5 * (x - mean) * (x - mean) / (sigma * sigma)) /
                             (sigma * std::sqrt(2 * 3.14159265358979));
      all += density / kParts;
      first += x * density / kParts;
      second += x * x * density / kParts;
    }
    const RoundedNormal one = rounded_normal(-0.5, 0.5, mean, sigma);
    EXPECT_NEAR(one.log_probability, std::log(all), 1e-6) << mean;
    EXPECT_NEAR(one.mean, first / all, 1e-6) << mean;
    EXPECT_NEAR(one.variance, second / all - one.mean * one.mean, 1e-6) << mean;
  }
}

TEST(RoundedNormal, HasTheDerivativesOfItsLogarithm) {
  const double h = 1e-4;
  for (const double mean : {-3.0, 0.1, 0.6, 4.0}) {
    const RoundedNormal one = rounded_normal(-0.5, 0.5, mean, 0.4);
    const double above = rounded_normal(-0.5, 0.5, mean + h, 0.4).log_probability;
    const double below = rounded_normal(-0.5, 0.5, mean - h, 0.4).log_probability;
    EXPECT_NEAR(one.score, (above - below) / (2 * h), 1e-4) << mean;
    EXPECT_NEAR(one.information, (2 * one.log_probability - above - below) / (h * h), 1e-3) << mean;
  }
}

TEST(RoundedNormal, HoldsFarAway) {
  const RoundedNormal one = rounded_normal(-0.5, 0.5, 1000, 0.1);
  EXPECT_TRUE(std::isfinite(one.log_probability));
  EXPECT_NEAR(one.mean, 0.5, 1e-3);
  EXPECT_NEAR(one.score, -(1000 - 0.5) / 0.01, 1);
  EXPECT_GE(one.information, 0);
}

}  // namespace
}  // namespace lab
