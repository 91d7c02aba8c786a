#include "lab/commands/settling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace lab {
namespace {

/// What two stages of 1 K and 8 K show `seconds` after a step, at 10 Hz, with a still one beside.
Table after_a_step(double seconds, double slow_tau_s) {
  Table table{.time_s = {},
              .columns = {{.name = "PC0C", .unit = "W", .source = {}, .values = {}},
                          {.name = "TC0D", .unit = "degC", .source = {}, .values = {}},
                          {.name = "TA0P", .unit = "degC", .source = {}, .values = {}}}};
  for (int row = 0; row * 0.1 < seconds; ++row) {
    const double time_s = row * 0.1;
    table.time_s.push_back(time_s);
    table.columns[0].values.push_back(row);  // a power that rises does not count
    table.columns[1].values.push_back(40 - std::exp(-time_s / 0.5) -
                                      8 * std::exp(-time_s / slow_tau_s));
    table.columns[2].values.push_back(25);
  }
  return table;
}

TEST(Settling, IsOverWhenNoMoreThanTheGivenPartIsToCome) {
  // Of 9 K, 5 % are left after 28 s * ln(8 / 0.45) = 80.6 s.
  EXPECT_FALSE(all_settled(after_a_step(60, 28), 0, 0.05));
  EXPECT_FALSE(all_settled(after_a_step(76, 28), 0, 0.05));
  EXPECT_TRUE(all_settled(after_a_step(88, 28), 0, 0.05));
  EXPECT_TRUE(all_settled(after_a_step(64, 28), 0, 0.15));
}

TEST(Settling, IsNotOverWhileASlowStageHasHardlyBegun) {
  EXPECT_FALSE(all_settled(after_a_step(20, 400), 0, 0.05));
  EXPECT_FALSE(all_settled(after_a_step(200, 400), 0, 0.05));
}

TEST(Settling, OfStillTemperaturesTakesTenSeconds) {
  Table still = after_a_step(9, 28);
  still.columns.erase(still.columns.begin() + 1);
  EXPECT_FALSE(all_settled(still, 0, 0.05));
  still = after_a_step(11, 28);
  still.columns.erase(still.columns.begin() + 1);
  EXPECT_TRUE(all_settled(still, 0, 0.05));
}

/// The same with a die beside the sink whose load is held up now and again.
Table with_a_noisy_die(double seconds, double slow_tau_s, unsigned seed) {
  std::mt19937 random(seed);
  std::normal_distribution<double> noise(0, 2);
  Table table = after_a_step(seconds, slow_tau_s);
  Column die = table.columns[1];
  die.name = "TC0P";
  for (double& value : table.columns[1].values) {
    value += noise(random);
  }
  table.columns.push_back(die);
  return table;
}

TEST(Settling, OfANoisyTemperatureGoesByTheTimeConstantOfAClearOne) {
  int settled = 0;
  constexpr unsigned kRuns = 20;
  for (unsigned seed = 1; seed <= kRuns; ++seed) {
    EXPECT_FALSE(all_settled(with_a_noisy_die(50, 28, seed), 0, 0.1)) << seed;
    settled += all_settled(with_a_noisy_die(90, 28, seed), 0, 0.1) ? 1 : 0;
  }
  EXPECT_GE(settled, 16);
}

TEST(Settling, LooksAtTheRowsOfThePhaseAlone) {
  const Table table = after_a_step(200, 28);
  EXPECT_TRUE(all_settled(table, 1000, 0.05));
  EXPECT_FALSE(all_settled(table, 1950, 0.05));  // not ten seconds yet
  EXPECT_FALSE(all_settled(table, 5000, 0.05));
}

}  // namespace
}  // namespace lab
