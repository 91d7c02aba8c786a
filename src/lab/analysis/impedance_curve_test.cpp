#include "lab/analysis/impedance_curve.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

// Ten watts from second 5 on, looked at each tenth of a second, on one stage of 0.5 K/W and 1 s.
TEST(ImpedanceCurve, BeginsWithTheFirstRowBehindTheStep) {
  constexpr int kRows = 101;
  constexpr int kLast = 50;  // row without heat
  HeatCurve curve;
  curve.range = 10;
  KeyResult result;
  result.fit.tau_s = {1};
  result.fit.resistance = {0.5};
  result.fit.fitted = Eigen::VectorXd::Constant(kRows, 25);
  result.observed.value = result.fit.fitted;
  result.observed.weight = Eigen::VectorXd::Ones(kRows);
  result.covariance = Eigen::MatrixXd::Zero(3, 3);
  double sum_s = 0;
  for (int row = 0; row < kRows; ++row) {
    const double step_s = row == 0 ? 0 : 0.1;
    curve.spans.push_back({.step_s = step_s, .heat = row > kLast ? 10.0 : 0.0});
    curve.time_s.push_back(row * 0.1);
    sum_s += row <= kLast ? step_s : 0;
  }
  ASSERT_GT(curve.time_s[kLast], sum_s) << "rounding is to make the row come late";
  const std::vector<ImpedancePoint> points = measured_impedance(result, curve);
  ASSERT_FALSE(points.empty());
  EXPECT_NEAR(points.front().time_s, 0.1, 1e-6);
  EXPECT_NEAR(points.back().impedance, 0.5, 0.01);
}

}  // namespace
}  // namespace lab
