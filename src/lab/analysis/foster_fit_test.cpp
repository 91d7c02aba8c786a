#include "lab/analysis/foster_fit.h"

#include <gtest/gtest.h>

#include <Eigen/LU>
#include <cmath>
#include <random>

#include "lab/analysis/stage_choice.h"
#include "lab/analysis/stage_response.h"
#include "lab/analysis/uncertainty.h"

namespace lab {
namespace {

// Load from 5 s to 90 s of 175 s, at 10 Hz, and a temperature made of stages.
struct Made {
  HeatCurve curve;
  Observed observed;

  Made() {
    std::vector<double> time_s;
    std::vector<double> heat;
    for (int at = 0; at <= 1750; ++at) {
      time_s.push_back(0.1 * at);
      heat.push_back(at > 50 && at <= 900 ? 82 : 12);
    }
    curve = heat_curve(time_s, heat, 0, 10000);
    const auto rows = static_cast<Eigen::Index>(curve.rows());
    observed = {Eigen::VectorXd::Constant(rows, 30), Eigen::VectorXd::Ones(rows)};
  }

  void add(double resistance, double tau_s, double offset = 0) {
    const StageResponse response = stage_response(curve, tau_s);
    observed.value += resistance * response.rise + offset * response.decay;
  }
};

TEST(FosterFit, FindsWhatATemperatureWasMadeOf) {
  Made made;
  made.add(0.25, 0.5);
  made.add(0.18, 28);
  const FosterFit fit = foster_fit(made.curve, made.observed, {2, 15}, Start::settled);
  EXPECT_NEAR(fit.tau_s[0], 0.5, 1e-4);
  EXPECT_NEAR(fit.tau_s[1], 28, 1e-3);
  EXPECT_NEAR(fit.resistance[0], 0.25, 1e-5);
  EXPECT_NEAR(fit.resistance[1], 0.18, 1e-5);
  EXPECT_NEAR(fit.start, 30, 1e-4);
}

TEST(FosterFit, FindsAStartThatWasNotSettled) {
  Made made;
  made.add(0.25, 0.5);
  made.add(0.18, 28, 6);
  const StartGrid grid(made.curve);
  const FosterFit fit =
      choose_stages(made.curve, made.observed, FosterStart(made.curve, grid, made.observed));
  ASSERT_EQ(fit.offset.size(), 2U);
  EXPECT_NEAR(fit.offset[1], 6, 0.01);
  EXPECT_NEAR(fit.tau_s[1], 28, 0.01);
  EXPECT_NEAR(fit.resistance[1], 0.18, 1e-4);
}

TEST(FosterFit, LeavesAGivenTimeConstantAsItIs) {
  Made made;
  made.add(0.2, 0.7);
  made.add(0.18, 28);
  const FosterFit fit = foster_fit(made.curve, made.observed, {20}, Start::settled, {0.7});
  ASSERT_EQ(fit.tau_s.size(), 2U);
  EXPECT_EQ(fit.tau_s[0], 0.7);
  EXPECT_NEAR(fit.tau_s[1], 28, 1e-3);
  EXPECT_NEAR(fit.resistance[0], 0.2, 1e-5);
}

TEST(FosterFit, SlopesAreTheDerivativesOfTheTemperature) {
  Made made;
  made.add(0.25, 0.5, 1);
  made.add(0.18, 28, 3);
  FosterFit fit = foster_fit(made.curve, made.observed, {0.6, 20}, Start::unsettled);
  FosterFit moved = fit;
  const double h = 1e-5;
  moved.tau_s[1] *= std::exp(h);
  evaluate(made.curve, made.observed, moved);
  const Eigen::VectorXd slope = (moved.fitted - fit.fitted) / h;
  EXPECT_LT((slope - fit.slopes.col(6)).cwiseAbs().maxCoeff(), 1e-3);
  moved = fit;
  moved.offset[0] += 1;
  evaluate(made.curve, made.observed, moved);
  EXPECT_LT((moved.fitted - fit.fitted - fit.slopes.col(3)).cwiseAbs().maxCoeff(), 1e-9);
}

TEST(StageChoice, TakesAsManyStagesAsThereAre) {
  std::mt19937_64 random(5);
  std::normal_distribution<double> noise(0, 0.05);
  for (int stages = 1; stages <= 3; ++stages) {
    Made made;
    const double resistances[] = {0.18, 0.25, 0.1};
    const double taus_s[] = {28, 0.5, 3.5};
    for (int at = 0; at < stages; ++at) {
      made.add(resistances[at], taus_s[at]);
    }
    for (double& value : made.observed.value) {
      value += noise(random);
    }
    const StartGrid grid(made.curve);
    const FosterFit fit =
        choose_stages(made.curve, made.observed, FosterStart(made.curve, grid, made.observed));
    EXPECT_EQ(static_cast<int>(fit.tau_s.size()), stages);
    EXPECT_TRUE(fit.offset.empty()) << "the start was settled";
  }
}

TEST(Uncertainty, OfWhiteNoiseIsThatOfATextbook) {
  Made made;
  made.add(0.18, 28);
  std::mt19937_64 random(6);
  std::normal_distribution<double> noise(0, 0.2);
  for (double& value : made.observed.value) {
    value += noise(random);
  }
  const FosterFit fit = foster_fit(made.curve, made.observed, {20}, Start::settled);
  const Eigen::MatrixXd textbook = (fit.slopes.transpose() * fit.slopes).inverse() * 0.2 * 0.2;
  const Eigen::MatrixXd covariance = uncertainty(fit, made.observed).covariance;
  for (Eigen::Index at = 0; at < 3; ++at) {
    EXPECT_NEAR(covariance(at, at) / textbook(at, at), 1, 0.15);
  }
}

}  // namespace
}  // namespace lab
