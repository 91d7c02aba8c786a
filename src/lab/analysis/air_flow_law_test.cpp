#include "lab/analysis/air_flow_law.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace lab {
namespace {

/// Temperatures that follow the law, behind a resistance in series, with an error of so much.
std::vector<CooledPoint> cooled(double series, double error, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::normal_distribution<double> normal(0, 1);
  std::vector<CooledPoint> points;
  const auto add = [&](double power, double flow) {
    const double conductance = 1.5 + 4 * std::pow(flow, 0.8);
    points.push_back(
        {.temperature = 25 + power * (series + 1 / conductance) + error * normal(random),
         .error = std::max(error, 1e-4),
         .power = power,
         .air_flow = flow});
  };
  add(12.5, 1);
  for (const double flow : {1.0, 0.7, 0.45, 0.3, 0.2, 0.13}) {
    add(50, flow);
  }
  return points;
}

TEST(AirFlowLaw, IsFoundFromPointsThatFollowIt) {
  const AirFlowLaw law = air_flow_law(cooled(0, 0));
  ASSERT_TRUE(law.known);
  EXPECT_NEAR(law.exponent.value, 0.8, 1e-3);
  EXPECT_NEAR(law.still_conductance.value, 1.5, 1e-2);
  EXPECT_NEAR(law.forced_conductance.value, 4, 1e-2);
  EXPECT_NEAR(law.air.value, 25, 1e-2);
  EXPECT_FALSE(law.series);
}

TEST(AirFlowLaw, TellsAResistanceThatNoFanChanges) {
  const AirFlowLaw law = air_flow_law(cooled(0.25, 1e-4));
  ASSERT_TRUE(law.known);
  EXPECT_TRUE(law.series);
  EXPECT_NEAR(law.series_resistance.value, 0.25, 0.01);
  EXPECT_NEAR(law.exponent.value, 0.8, 0.05);
}

TEST(AirFlowLaw, HoldsTheTruthInItsIntervalsInNineteenOfTwentySweeps) {
  int exponents = 0;
  int conductances = 0;
  constexpr int kSweeps = 100;
  for (unsigned seed = 1; seed <= kSweeps; ++seed) {
    const AirFlowLaw law = air_flow_law(cooled(0, 0.02, seed));
    exponents += law.exponent.low <= 0.8 && law.exponent.high >= 0.8 ? 1 : 0;
    conductances += law.still_conductance.low <= 1.5 && law.still_conductance.high >= 1.5 ? 1 : 0;
  }
  EXPECT_GE(exponents, kSweeps * 90 / 100);
  EXPECT_GE(conductances, kSweeps * 90 / 100);
}

TEST(AirFlowLaw, IsNotKnownFromThreeSpeeds) {
  std::vector<CooledPoint> points = cooled(0, 0);
  points.resize(4);
  EXPECT_FALSE(air_flow_law(points).known);
}

// A die as it was measured at four speeds, with 0.25 K/W to its sink: a fit without that says that
// standing air takes nothing.
TEST(AirFlowLaw, IsNotKnownOfAResistanceInSeriesFromFourSpeeds) {
  const auto point = [](double celsius, double error, double watts, double flow) {
    return CooledPoint{.temperature = celsius, .error = error, .power = watts, .air_flow = flow};
  };
  EXPECT_FALSE(air_flow_law({point(30.44, 0.06, 12.6, 1), point(56.69, 0.27, 49.7, 0.2015),
                             point(51.9, 0.4, 49.2, 0.358), point(48, 0.5, 49, 0.672),
                             point(46.26, 0.22, 48.6, 1)})
                   .known);
}

TEST(AirFlowLaw, IsNotKnownFromErrorsThatAllowAnyExponent) {
  std::vector<CooledPoint> points = cooled(0, 2);
  points.resize(5);
  EXPECT_FALSE(air_flow_law(points).known);
}

TEST(AirFlowLaw, IsNotKnownFromOnePower) {
  std::vector<CooledPoint> points = cooled(0, 0);
  points.erase(points.begin());
  EXPECT_FALSE(air_flow_law(points).known);
}

}  // namespace
}  // namespace lab
