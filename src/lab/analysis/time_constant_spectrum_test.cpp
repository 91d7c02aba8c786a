#include "lab/analysis/time_constant_spectrum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "lab/analysis/non_negative.h"

namespace lab {
namespace {

std::vector<ImpedancePoint> seen(const std::vector<FosterStage>& stages, double noise) {
  std::mt19937_64 random(5);
  std::normal_distribution<double> normal(0, 1);
  std::vector<ImpedancePoint> points;
  for (int at = 0; at <= 90; ++at) {
    ImpedancePoint point{.time_s = 1e-3 * std::pow(10.0, at / 15.0), .impedance = 0, .count = 4};
    for (const FosterStage& stage : stages) {
      point.impedance -= stage.resistance * std::expm1(-point.time_s / stage.tau_s);
    }
    point.impedance += noise / 2 * normal(random);
    points.push_back(point);
  }
  return points;
}

double between(const std::vector<FosterStage>& spectrum, double from_s, double to_s) {
  double sum = 0;
  for (const FosterStage& stage : spectrum) {
    sum += stage.tau_s >= from_s && stage.tau_s < to_s ? stage.resistance : 0;
  }
  return sum;
}

TEST(TimeConstantSpectrum, HasAPeakOfEachStagesResistance) {
  constexpr double kNoise = 1e-3;
  const std::vector<FosterStage> spectrum = time_constant_spectrum(
      seen({{.resistance = 0.3, .tau_s = 0.02}, {.resistance = 0.2, .tau_s = 5}}, kNoise),
      1.1 * 91 * kNoise * kNoise);
  ASSERT_FALSE(spectrum.empty());
  for (const FosterStage& stage : spectrum) {
    EXPECT_GE(stage.resistance, 0);
  }
  EXPECT_NEAR(between(spectrum, 0.002, 0.2), 0.3, 0.01);
  EXPECT_NEAR(between(spectrum, 0.5, 50), 0.2, 0.01);
  EXPECT_LT(between(spectrum, 0.2, 0.5), 0.01);
}

TEST(TimeConstantSpectrum, IsAsWideAsTheNoiseLeavesIt) {
  const auto width = [](double noise) {
    const std::vector<FosterStage> spectrum = time_constant_spectrum(
        seen({{.resistance = 0.3, .tau_s = 0.5}}, noise), 1.1 * 91 * noise * noise);
    double mean = 0;
    double square = 0;
    for (const FosterStage& stage : spectrum) {
      const double decades = std::log10(stage.tau_s / 0.5);
      mean += stage.resistance / 0.3 * decades;
      square += stage.resistance / 0.3 * decades * decades;
    }
    return std::sqrt(square - mean * mean);
  };
  EXPECT_GT(width(0.01), 1.2 * width(0.001));
  EXPECT_LT(width(0.001), 0.25);
}

TEST(TimeConstantSpectrum, IsNotDrawnOfAnImpedanceThatNeedsANegativePart) {
  const double noise = 1e-4;
  EXPECT_TRUE(
      time_constant_spectrum(
          seen({{.resistance = -0.2, .tau_s = 0.1}, {.resistance = 0.5, .tau_s = 5}}, noise),
          1.1 * 91 * noise * noise)
          .empty());
}

TEST(NonNegative, IsLeastSquaresWhereThatIsPositive) {
  Eigen::Matrix2d squares;
  squares << 4, 1, 1, 3;
  const Eigen::Vector2d x = non_negative(squares, squares * Eigen::Vector2d(2, 5));
  EXPECT_NEAR(x[0], 2, 1e-12);
  EXPECT_NEAR(x[1], 5, 1e-12);
}

// At the optimum no variable that is held at zero would rather rise, and no other would move.
TEST(NonNegative, MeetsTheConditionsOfItsOptimum) {
  std::mt19937_64 random(5);
  std::normal_distribution<double> normal(0, 1);
  for (int round = 0; round < 20; ++round) {
    const Eigen::MatrixXd a = Eigen::MatrixXd::NullaryExpr(30, 12, [&] { return normal(random); });
    const Eigen::VectorXd b = Eigen::VectorXd::NullaryExpr(30, [&] { return normal(random); });
    const Eigen::MatrixXd squares = a.transpose() * a;
    const Eigen::VectorXd right = a.transpose() * b;
    const Eigen::VectorXd x = non_negative(squares, right);
    const Eigen::VectorXd slope = right - squares * x;
    int held = 0;
    for (Eigen::Index at = 0; at < x.size(); ++at) {
      EXPECT_GE(x[at], 0);
      EXPECT_LT(x[at] > 0 ? std::abs(slope[at]) : slope[at], 1e-9);
      held += x[at] == 0 ? 1 : 0;
    }
    EXPECT_GT(held, 0);
    EXPECT_LT(held, 12);
  }
}

}  // namespace
}  // namespace lab
