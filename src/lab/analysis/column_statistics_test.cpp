#include "lab/analysis/column_statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace lab {
namespace {

std::vector<double> instants(std::size_t count) {
  std::vector<double> time_s;
  for (std::size_t at = 0; at < count; ++at) {
    time_s.push_back(0.1 * static_cast<double>(at));
  }
  return time_s;
}

Column wandering(std::size_t count, double memory, std::mt19937_64& random) {
  std::normal_distribution<double> normal;
  Column column{.name = "TC0D", .unit = "degC", .source = "", .values = {}};
  double state = normal(random);
  for (std::size_t at = 0; at < count; ++at) {
    state = memory * state + std::sqrt(1 - memory * memory) * normal(random);
    column.values.push_back(50 + state);
  }
  return column;
}

TEST(ColumnStatistics, AreThoseOfTheValuesThatAreThere) {
  const Column column{.name = "PC0C", .unit = "W", .source = "", .values = {3, NAN, 1, 2, 5, 4}};
  const ColumnStatistics statistics = column_statistics(instants(6), column);
  EXPECT_EQ(statistics.measured, 5U);
  EXPECT_EQ(statistics.missing, 1U);
  EXPECT_EQ(statistics.mean.value, 3);
  EXPECT_EQ(statistics.mean.unit, "W");
  EXPECT_EQ(statistics.minimum, 1);
  EXPECT_EQ(statistics.median, 3);
  EXPECT_EQ(statistics.maximum, 5);
  EXPECT_DOUBLE_EQ(statistics.percentile_95, 4.8);
  EXPECT_NEAR(statistics.deviation, std::sqrt(2), 1e-12);
}

TEST(ColumnStatistics, IntervalsHoldTheMeanThoughValuesRemember) {
  for (const double memory : {0.0, 0.9, 0.98}) {
    std::mt19937_64 random(8);
    int held = 0;
    for (int repetition = 0; repetition < 100; ++repetition) {
      const ColumnStatistics statistics =
          column_statistics(instants(3000), wandering(3000, memory, random));
      held += statistics.mean.low <= 50 && 50 <= statistics.mean.high ? 1 : 0;
    }
    EXPECT_GE(held, 88) << memory;
  }
}

TEST(ColumnStatistics, CountIndependentValuesInALongColumnToo) {
  std::mt19937_64 random(9);
  const ColumnStatistics statistics =
      column_statistics(instants(100000), wandering(100000, 0.9, random));
  EXPECT_NEAR(statistics.independent, 100000 * 0.1 / 1.9, 1500);
}

TEST(ColumnStatistics, AStillValueOnACoarseSensorMayBeHalfAStepOff) {
  Column column{.name = "TC0D", .unit = "degC", .source = "", .values = {}};
  column.values.assign(1000, 40);
  column.values[3] = column.values[500] = 41;
  const Estimate mean = column_statistics(instants(1000), column).mean;
  EXPECT_LT(mean.low, 39.51);
  EXPECT_GT(mean.high, 40.49);
}

TEST(ColumnStatistics, OfNothingAreNoNumbers) {
  const Column column{.name = "TC0D", .unit = "degC", .source = "", .values = {NAN, NAN}};
  const ColumnStatistics statistics = column_statistics(instants(2), column);
  EXPECT_EQ(statistics.measured, 0U);
  EXPECT_TRUE(std::isnan(statistics.mean.value));
  EXPECT_TRUE(std::isnan(statistics.maximum));
}

}  // namespace
}  // namespace lab
