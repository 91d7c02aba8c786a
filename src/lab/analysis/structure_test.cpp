#include "lab/analysis/structure_function.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "lab/fakes/fake_ladder.h"
#include "lab/fakes/fake_two_nodes.h"

namespace lab {
namespace {

using nlohmann::ordered_json;
using testing::Contains;
using testing::HasSubstr;

Answer structure_of(StepInput input) {
  input.structure = true;
  return analyse_step(input);
}

// A heating curve as a tester records it, from a tenth of the fast time constant to ten times the
// slow one, with noise as a part of the whole rise.
StepInput heating_of(const FakeLadder& ladder, double apart, double noise, int to_a_decade,
                     unsigned seed) {
  constexpr double kWatts = 10;
  constexpr double kFastest_s = 0.01;
  double rise = 0;
  for (const Rung& rung : ladder.rungs) {
    rise += kWatts * rung.resistance;
  }
  const double slowest_s =
      kFastest_s * std::pow(apart, static_cast<double>(ladder.rungs.size()) - 1);
  StepInput input = ladder.heating(kWatts, kFastest_s / 10, 10 * slowest_s, to_a_decade);
  std::mt19937_64 random(seed);
  disturb(input, noise * rise, 0, random);
  return input;
}

// The largest relative error of an element; infinite if there are more or fewer rungs.
double worst_error(const ordered_json& ladder, const std::vector<Rung>& truth) {
  if (ladder.size() != truth.size()) {
    return INFINITY;
  }
  double worst = 0;
  for (std::size_t at = 0; at < truth.size(); ++at) {
    const double resistance = ladder[at]["resistance"]["value"];
    const double capacitance = ladder[at]["capacitance"]["value"];
    worst = std::max({worst, std::abs(resistance / truth[at].resistance - 1),
                      std::abs(capacitance / truth[at].capacitance - 1)});
  }
  return worst;
}

// Three to five rungs whose time constants lie a factor of five apart, the last digits rounded.
TEST(StepStructure, OfLaddersWithoutNoiseIsWithinATenth) {
  for (std::size_t rungs = 3; rungs <= 5; ++rungs) {
    for (unsigned seed = 1; seed <= 5; ++seed) {
      const FakeLadder truth = random_ladder(rungs, 0.01, 5, seed);
      const Answer answer = structure_of(heating_of(truth, 5, 1e-5, 50, seed));
      EXPECT_TRUE(answer.decided);
      EXPECT_LT(worst_error(answer.figures["ladder"], truth.rungs), 0.1) << rungs << ' ' << seed;
    }
  }
}

// The same with noise of a thousandth of the rise on each of 100 samples to a decade.
TEST(StepStructure, OfLaddersInALittleNoiseIsWithinATenth) {
  for (std::size_t rungs = 3; rungs <= 5; ++rungs) {
    for (unsigned seed = 1; seed <= 5; ++seed) {
      const FakeLadder truth = random_ladder(rungs, 0.01, 5, seed);
      const Answer answer = structure_of(heating_of(truth, 5, 1e-3, 100, seed));
      EXPECT_LT(worst_error(answer.figures["ladder"], truth.rungs), 0.1) << rungs << ' ' << seed;
    }
  }
}

// A factor of ten apart, noise of a hundredth of the rise on each of 200 samples to a decade.
TEST(StepStructure, OfLaddersInNoiseIsWithinAFifth) {
  for (std::size_t rungs = 3; rungs <= 5; ++rungs) {
    for (unsigned seed = 1; seed <= 5; ++seed) {
      const FakeLadder truth = random_ladder(rungs, 0.01, 10, seed);
      const Answer answer = structure_of(heating_of(truth, 10, 0.01, 200, seed));
      EXPECT_LT(worst_error(answer.figures["ladder"], truth.rungs), 0.2) << rungs << ' ' << seed;
    }
  }
}

TEST(StepStructure, IntervalsHoldTheTruthInNineteenOfTwenty) {
  int held = 0;
  int all = 0;
  for (unsigned seed = 1; seed <= 20; ++seed) {
    const FakeLadder truth = random_ladder(3, 0.01, 10, seed);
    const Answer answer = structure_of(heating_of(truth, 10, 0.01, 50, seed));
    const ordered_json& ladder = answer.figures["ladder"];
    ASSERT_EQ(ladder.size(), 3U);
    for (std::size_t at = 0; at < 3; ++at) {
      const auto holds = [](const ordered_json& estimate, double value) {
        return (estimate["low"].is_null() || estimate["low"] <= value) &&
               (estimate["high"].is_null() || estimate["high"] >= value);
      };
      held += holds(ladder[at]["resistance"], truth.rungs[at].resistance) ? 1 : 0;
      held += holds(ladder[at]["capacitance"], truth.rungs[at].capacitance) ? 1 : 0;
      all += 2;
    }
  }
  EXPECT_GE(held, 0.88 * all);  // five standard errors below 0.95 if all were independent
}

TEST(StepStructure, OfEvenlySampledHeatingAndCoolingIsTheSame) {
  const FakeLadder truth{{{.resistance = 0.1, .capacitance = 3},
                          {.resistance = 0.15, .capacitance = 25},
                          {.resistance = 0.2, .capacitance = 200}}};
  StepInput input = truth.step(50, 250, 0.1);
  std::mt19937_64 random(1);
  disturb(input, 0.1, 0, random);
  EXPECT_LT(worst_error(structure_of(input).figures["ladder"], truth.rungs), 0.1);
}

// Noise of a tenth of the rise decides nothing, and still invents no negative element.
TEST(StepStructure, HasNoNegativeElementInAnyNoise) {
  for (unsigned seed = 1; seed <= 10; ++seed) {
    const FakeLadder truth = random_ladder(4, 0.01, 4, seed);
    const Answer answer = structure_of(heating_of(truth, 4, 0.1, 50, seed));
    EXPECT_FALSE(answer.figures["ladder"].empty()) << seed;
    for (const ordered_json& rung : answer.figures["ladder"]) {
      EXPECT_GT(rung["resistance"]["value"], 0);
      EXPECT_GT(rung["capacitance"]["value"], 0);
    }
  }
}

TEST(StepStructure, OfAPlaceAwayFromTheHeatIsSaidNotToBe) {
  const FakeLadder ladder = random_ladder(3, 0.5, 6, 2);
  StepInput input = ladder.step(10, 150, 0.1, 2);
  std::mt19937_64 random(1);
  disturb(input, 0.02, 0, random);
  Answer both = structure_of(input);
  EXPECT_EQ(both.figures["keys"]["die"]["impedance"], "driving point");
  EXPECT_EQ(both.figures["keys"]["case"]["impedance"], "transfer");
  EXPECT_FALSE(both.figures["keys"]["case"].contains("ladder"));
  EXPECT_EQ(both.figures["heated"], "die");
  EXPECT_EQ(both.figures["ladder"], both.figures["keys"]["die"]["ladder"]);
  EXPECT_THAT(both.sentences, Contains(HasSubstr("case: it begins to rise late")));
  for (const Chart& chart : both.charts) {
    if (chart.title != "Thermal impedance" && chart.title != "Residuals") {
      for (const Series& series : chart.series) {
        EXPECT_THAT(series.name, testing::StartsWith("die"));
      }
    }
  }

  input.temperatures.erase(input.temperatures.begin());
  const Answer alone = structure_of(input);
  EXPECT_FALSE(alone.decided);
  EXPECT_TRUE(alone.figures["heated"].is_null());
  EXPECT_TRUE(alone.figures["ladder"].empty());
  EXPECT_EQ(alone.charts.size(), 2U);
  EXPECT_THAT(alone.warnings, Contains(HasSubstr("there is no structure function")));
}

// The sink of the two nodes rises 0.1 s late: too little to be seen by itself, but the die knows.
TEST(StepStructure, TellsATransferWhoseDelayIsNotSeenByTheQuickerKey) {
  TwoNodes machine;
  StepInput input = machine.record(one_step, 175, 0.1);
  std::mt19937_64 random(1);
  disturb(input, 0.3, 0, random);
  const Answer answer = structure_of(input);
  EXPECT_EQ(answer.figures["keys"]["TC0P"]["impedance"], "transfer");
  EXPECT_LT(worst_error(answer.figures["keys"]["TC0D"]["ladder"],
                        {{.resistance = 0.25, .capacitance = 2},
                         {.resistance = 1 / 5.5, .capacitance = 150}}),
            0.1);
}

TEST(StepStructure, NeedsPower) {
  const TwoNodes machine;
  StepInput input = machine.record(one_step, 175, 0.1);
  input.heat_is_power = false;
  for (double& heat : input.heat) {
    heat /= 100;
  }
  const Answer answer = structure_of(input);
  EXPECT_FALSE(answer.decided);
  EXPECT_TRUE(answer.figures["ladder"].empty());
  EXPECT_THAT(answer.warnings, Contains(HasSubstr("heat capacities need watts")));
}

TEST(StepStructure, LeavesTheEndOpenThatWasNotSeen) {
  const TwoNodes machine;
  const Answer answer = structure_of(machine.record(one_step, 30, 0.1));
  EXPECT_FALSE(answer.decided);
  const ordered_json& last = answer.figures["keys"]["TC0D"]["ladder"].back();
  EXPECT_TRUE(last["resistance"]["high"].is_null());
  EXPECT_THAT(answer.sentences, Contains(HasSubstr("The end of this ladder was not seen.")));
}

TEST(StructureFunction, OfALadderAddsItsRungsUp) {
  const std::vector<Rung> ladder{{.resistance = 0.25, .capacitance = 2},
                                 {.resistance = 0.5, .capacitance = 150}};
  const std::vector<StructurePoint> sums = cumulative(ladder);
  ASSERT_EQ(sums.size(), 2U);
  EXPECT_EQ(sums[0].resistance, 0);
  EXPECT_EQ(sums[0].capacitance, 2);
  EXPECT_EQ(sums[1].resistance, 0.25);
  EXPECT_EQ(sums[1].capacitance, 152);
  const std::vector<StructurePoint> slopes = differential(ladder);
  ASSERT_EQ(slopes.size(), 1U);
  EXPECT_EQ(slopes[0].resistance, 0.125);
  EXPECT_EQ(slopes[0].capacitance, 600);
}

// An even rod, r K/W and c J/K to a metre, has dC/dR = c/r everywhere: here 30 rungs of it.
TEST(StructureFunction, OfAnEvenRodHasOneSlope) {
  FakeLadder rod;
  for (int at = 0; at < 30; ++at) {
    rod.rungs.push_back({.resistance = 0.01, .capacitance = 0.5});
  }
  const std::vector<StructurePoint> slopes = differential(ladder_of(rod.stages()));
  ASSERT_GT(slopes.size(), 20U);
  for (const StructurePoint& point : slopes) {
    EXPECT_NEAR(point.capacitance, 50, 1e-3);
  }
}

}  // namespace
}  // namespace lab
