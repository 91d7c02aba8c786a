#include "lab/analysis/heat_curve.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lab {
namespace {

double energy_of(const HeatCurve& curve) {
  double energy = 0;
  for (const HeatSpan& span : curve.spans) {
    energy += span.heat * span.step_s * span.count;
  }
  return energy;
}

TEST(HeatCurve, HoldsEachReadingSinceTheSampleBefore) {
  const HeatCurve curve =
      heat_curve(std::vector{0.0, 1.0, 3.0}, std::vector{5.0, 5.0, 20.0}, 0, 100);
  ASSERT_EQ(curve.spans.size(), 3U);
  EXPECT_EQ(curve.spans[2].step_s, 2);
  EXPECT_EQ(curve.spans[2].heat, 20);
  EXPECT_EQ(curve.before, 5);
  EXPECT_EQ(curve.time_s, (std::vector{0.0, 1.0, 3.0}));
}

TEST(HeatCurve, AReadingThatComesLateBelongsToEarlierHeat) {
  const HeatCurve curve =
      heat_curve(std::vector{0.0, 1.0, 2.0, 3.0}, std::vector{5.0, 5.0, 9.0, 9.0}, 0.25, 100);
  // 9 W began at 1 s less the delay.
  ASSERT_EQ(curve.spans.size(), 6U) << "the last reading goes on";
  EXPECT_DOUBLE_EQ(curve.spans[1].step_s, 0.75);
  EXPECT_EQ(curve.spans[1].heat, 5);
  EXPECT_FALSE(curve.spans[1].observed);
  EXPECT_DOUBLE_EQ(curve.spans[2].step_s, 0.25);
  EXPECT_EQ(curve.spans[2].heat, 9);
  EXPECT_TRUE(curve.spans[2].observed);
}

TEST(HeatCurve, AMissingReadingIsThatOfTheNextOne) {
  const HeatCurve curve = heat_curve(std::vector{0.0, 1.0, 2.0, 3.0, 4.0},
                                     std::vector<double>{NAN, 5.0, NAN, 9.0, NAN}, 0, 100);
  EXPECT_EQ(curve.spans[0].heat, 5);
  EXPECT_EQ(curve.spans[2].heat, 9);
  EXPECT_EQ(curve.spans[4].heat, 9);
}

TEST(HeatCurve, ALongRecordHasWideRowsFarFromAChangeAndNarrowOnesBehindIt) {
  std::vector<double> time_s;
  std::vector<double> heat;
  for (int at = 0; at < 40000; ++at) {
    time_s.push_back(0.1 * at);
    heat.push_back(at / 5000 % 2 == 0 ? 10 : 80);
  }
  const HeatCurve whole = heat_curve(time_s, heat, 0, 40000);
  const HeatCurve curve = heat_curve(time_s, heat, 0, 1000);
  EXPECT_EQ(whole.rows(), 40000U);
  EXPECT_LE(curve.rows(), 1000U);
  EXPECT_GT(curve.rows(), 200U);
  EXPECT_NEAR(energy_of(curve), energy_of(whole), 1e-6);
  for (std::size_t row = 0; row < curve.rows(); ++row) {
    if (curve.first[row] % 5000 == 0) {
      EXPECT_EQ(curve.first[row + 1], curve.first[row] + 1) << "the first after a change";
    }
  }
}

TEST(HeatSteps, AreTheLastingChanges) {
  std::vector<double> time_s;
  std::vector<double> heat;
  for (int at = 0; at <= 100; ++at) {
    time_s.push_back(at);
    heat.push_back(at > 20 && at <= 60 ? 80 : 10);
  }
  heat[40] = 10;  // a dip
  const std::vector<HeatStep> steps = heat_steps(heat_curve(time_s, heat, 0, 1000));
  ASSERT_EQ(steps.size(), 2U);
  EXPECT_EQ(steps[0].time_s, 20);
  EXPECT_NEAR(steps[0].change, 70, 2);
  EXPECT_EQ(steps[0].length_s, 40);
  EXPECT_NEAR(steps[1].change, -70, 4);
}

}  // namespace
}  // namespace lab
