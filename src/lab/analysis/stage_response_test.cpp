#include "lab/analysis/stage_response.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lab {
namespace {

HeatCurve step_curve(std::size_t most_rows) {
  std::vector<double> time_s;
  std::vector<double> heat;
  for (int at = 0; at <= 2000; ++at) {
    time_s.push_back(0.1 * at);
    heat.push_back(at > 100 ? 60 : 10);
  }
  return heat_curve(time_s, heat, 0, most_rows);
}

TEST(StageResponse, ToAStepIsTheExponentialOfATextbook) {
  const HeatCurve curve = step_curve(5000);
  const StageResponse response = stage_response(curve, 7);
  for (const int at : {0, 100, 101, 150, 400, 2000}) {
    const double since_s = std::max(0.0, 0.1 * (at - 100));
    const double u = since_s / 7;
    EXPECT_NEAR(response.rise[at], 50 * (1 - std::exp(-u)), 1e-9) << at;
    EXPECT_NEAR(response.rise_slope[at], -50 * u * std::exp(-u), 1e-9) << at;
    EXPECT_NEAR(response.decay[at], std::exp(-0.1 * at / 7), 1e-9) << at;
    EXPECT_NEAR(response.decay_slope[at], 0.1 * at / 7 * std::exp(-0.1 * at / 7), 1e-9) << at;
  }
}

TEST(StageResponse, OfARowOfSamplesIsTheirMean) {
  const HeatCurve fine = step_curve(5000);
  const HeatCurve curve = step_curve(300);
  ASSERT_LT(curve.rows(), 300U);
  const StageResponse whole = stage_response(fine, 3);
  const StageResponse response = stage_response(curve, 3);
  for (std::size_t row = 0; row < curve.rows(); ++row) {
    const auto begin = static_cast<Eigen::Index>(curve.first[row]);
    const auto count = static_cast<Eigen::Index>(curve.first[row + 1]) - begin;
    const auto at = static_cast<Eigen::Index>(row);
    EXPECT_NEAR(response.rise[at], whole.rise.segment(begin, count).mean(), 1e-9);
    EXPECT_NEAR(response.rise_slope[at], whole.rise_slope.segment(begin, count).mean(), 1e-9);
    EXPECT_NEAR(response.decay[at], whole.decay.segment(begin, count).mean(), 1e-9);
    EXPECT_NEAR(response.decay_slope[at], whole.decay_slope.segment(begin, count).mean(), 1e-9);
  }
}

}  // namespace
}  // namespace lab
