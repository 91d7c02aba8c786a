#include "lab/analysis/sweep_points.h"

#include <gtest/gtest.h>

#include <cmath>

#include "lab/analysis/dynamic_power.h"
#include "lab/analysis/straight_line.h"

namespace lab {
namespace {

TEST(VisitsTogether, AreWeighedByTheirErrors) {
  const Estimate both = together({{10, 9, 11, "W"}, {11, 8, 14, "W"}});
  EXPECT_NEAR(both.value, 10.1, 1e-9) << "a third of the error is nine times the weight";
  EXPECT_NEAR((both.high - both.low) / 2, std::sqrt(9.0 / 10), 1e-9);
  EXPECT_EQ(both.unit, "W");
}

// The errors of visits that contradict each other are too small.
TEST(VisitsTogether, ThatDifferMoreThanTheirErrorsWidenThem) {
  const Estimate both = together({{10, 9.9, 10.1, "W"}, {12, 11.9, 12.1, "W"}});
  EXPECT_NEAR(both.value, 11, 1e-9);
  EXPECT_NEAR((both.high - both.low) / 2, 2, 1e-6);
}

TEST(StraightLine, GoesThroughItsPoints) {
  const StraightLine line = straight_line({{0, 12, 0.1}, {0.5, 30, 0.1}, {1, 48, 0.1}}, "W", "W");
  ASSERT_TRUE(line.known);
  EXPECT_NEAR(line.at_zero.value, 12, 1e-9);
  EXPECT_NEAR(line.slope.value, 36, 1e-9);
  EXPECT_NEAR(line.bend, 0, 1e-9);
  EXPECT_LT(line.slope.low, 36);
}

TEST(StraightLine, OfPointsThatBendHasAWiderInterval) {
  const auto width = [](double middle) {
    const StraightLine line =
        straight_line({{0, 12, 0.1}, {0.3, 23, 0.1}, {0.5, middle, 0.1}, {1, 48, 0.1}}, "W", "W");
    return line.slope.high - line.slope.low;
  };
  EXPECT_GT(width(35), 5 * width(30));
}

TEST(StraightLine, OfOnePlaceIsNotKnown) {
  EXPECT_FALSE(straight_line({{0.5, 12, 0.1}, {0.5, 13, 0.1}}, "W", "W").known);
}

/// Two minutes at 50 W, in which the work of each ten seconds is more or less by that part.
Estimate each_joule_with(double more_or_less) {
  SweepInput input;
  input.power = "PC0C";
  input.points = {{.name = "bmix", .number = std::nullopt}};
  Column power{.name = "PC0C", .unit = "W", .source = "", .values = {}};
  Column delivered{.name = std::string(kDeliveredColumn), .unit = "", .source = "", .values = {}};
  double operations = 0;
  for (int row = 0; row < 1200; ++row) {
    input.samples.time_s.push_back(row * 0.1);
    power.values.push_back(50);
    delivered.values.push_back(0.5);
    input.work.push_back({.time_s = row * 0.1, .operations = operations});
    operations += 1e8 * (1 + (row / 100 % 2 == 0 ? more_or_less : -more_or_less));
  }
  input.samples.columns = {power, delivered};
  input.visits = {{.point = 0, .first_row = 0, .end_row = 1200}};
  return measured_points(input)[0].operations_per_joule.value();
}

TEST(OperationsForEachJoule, HaveAnIntervalThatHoldsTheirScatter) {
  const Estimate steady = each_joule_with(0);
  EXPECT_NEAR(steady.value, 2e7, 1e3);
  EXPECT_LT(steady.high - steady.low, 1e-3 * steady.value);
  const Estimate restless = each_joule_with(0.1);
  EXPECT_NEAR(restless.value, 2e7, 1e6);
  EXPECT_GT(restless.high - restless.low, 0.05 * restless.value);
}

/// An idle stretch and one with that load, in which the processor warms up and leaks more.
SweepInput warming(double load_w) {
  SweepInput input;
  input.power = "PC0C";
  input.points = {{.name = "0", .number = 0, .idle = false},
                  {.name = "0.5", .number = 0.5, .idle = false}};
  Column power{.name = "PC0C", .unit = "W", .source = "", .values = {}};
  Column die{.name = "TC0D", .unit = "degC", .source = "", .values = {}};
  Column delivered{.name = std::string(kDeliveredColumn), .unit = "", .source = "", .values = {}};
  for (int row = 0; row < 1200; ++row) {
    const double time_s = row * 0.1;
    const double load = row < 400 ? 0 : 0.5;
    const double warmth = row < 400 ? 30 : 50 - 10 * std::exp(-(time_s - 40) / 20);
    input.samples.time_s.push_back(time_s);
    delivered.values.push_back(load);
    die.values.push_back(warmth);
    power.values.push_back(10 + load * load_w + 4 * std::exp2((warmth - 50) / 30) +
                           0.05 * std::sin(row));
  }
  input.samples.columns = {delivered, power, die};
  input.visits = {{0, 0, 400}, {1, 400, 1200}};
  return input;
}

TEST(DynamicPower, IsThatOfTheLoadAloneWithoutLeakage) {
  const DynamicPower dynamic = dynamic_power(warming(40));
  ASSERT_TRUE(dynamic.known);
  EXPECT_EQ(dynamic.full_load[0].value, 0);
  EXPECT_NEAR(dynamic.full_load[1].value, 40, 0.4);
}

TEST(DynamicPower, WithoutAStretchWithoutLoadIsNotKnown) {
  SweepInput input = warming(40);
  input.visits.erase(input.visits.begin());
  EXPECT_FALSE(dynamic_power(input).known);
}

}  // namespace
}  // namespace lab
