#include "lab/analysis/noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "lab/analysis/quantile.h"

namespace lab {
namespace {

Eigen::VectorXd series(Eigen::Index count, double shared, double memory) {
  std::mt19937_64 random(3);
  std::normal_distribution<double> normal;
  Eigen::VectorXd values(count);
  double state = normal(random);
  for (double& value : values) {
    state = memory * state + std::sqrt(1 - memory * memory) * normal(random);
    value = std::sqrt(shared) * state + std::sqrt(1 - shared) * normal(random);
  }
  return values;
}

TEST(Noise, OfIndependentValuesHasNoMemory) {
  const Noise noise = noise_of(series(5000, 0, 0));
  EXPECT_EQ(noise.shared, 0);
  EXPECT_NEAR(noise.sigma, 1, 0.05);
  EXPECT_EQ(effective_count(5000, noise), 5000);
}

TEST(Noise, OfAnAutoregressiveSeriesIsFoundAgain) {
  const Noise noise = noise_of(series(50000, 1, 0.9));
  EXPECT_NEAR(noise.shared, 1, 0.03);
  EXPECT_NEAR(noise.memory, 0.9, 0.03);
  // n (1 - rho) / (1 + rho)
  EXPECT_NEAR(effective_count(50000, noise), 50000 * 0.1 / 1.9, 800);
}

TEST(Noise, SeenThroughWhiteNoiseIsFoundAgain) {
  const Noise noise = noise_of(series(100000, 0.5, 0.9));
  EXPECT_NEAR(noise.shared, 0.5, 0.06);
  EXPECT_NEAR(noise.memory, 0.9, 0.03);
}

TEST(Noise, PropagatesAsItsWholeMatrixDoes) {
  const Noise noise{.sigma = 1.5, .shared = 0.7, .memory = 0.8};
  const Eigen::MatrixXd gain = Eigen::MatrixXd::Random(3, 40);
  Eigen::MatrixXd whole(40, 40);
  for (int row = 0; row < 40; ++row) {
    for (int column = 0; column < 40; ++column) {
      const int distance = std::abs(row - column);
      whole(row, column) = 2.25 * (distance == 0 ? 1 : 0.7 * std::pow(0.8, distance));
    }
  }
  const Eigen::MatrixXd expected = gain * whole * gain.transpose();
  EXPECT_LT((propagated(gain, noise) - expected).cwiseAbs().maxCoeff(), 1e-12);
}

TEST(Quantile, IsThatOfTheTables) {
  EXPECT_NEAR(two_sided_95(3), 3.182, 0.03);
  EXPECT_NEAR(two_sided_95(5), 2.571, 0.005);
  EXPECT_NEAR(two_sided_95(10), 2.228, 0.001);
  EXPECT_NEAR(two_sided_95(1e9), 1.960, 0.001);
  EXPECT_EQ(two_sided_95(-4), two_sided_95(3));
}

}  // namespace
}  // namespace lab
