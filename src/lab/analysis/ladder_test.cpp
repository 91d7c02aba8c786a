#include "lab/analysis/ladder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "lab/fakes/fake_ladder.h"
#include "lab/fakes/fake_two_nodes.h"

namespace lab {
namespace {

using Complex = std::complex<double>;

// From ambient inwards: Z = 1 / (s C + 1 / (R + Z of what lies behind)).
Complex continued_fraction(const std::vector<Rung>& ladder, Complex s) {
  Complex behind = 0;
  for (std::size_t at = ladder.size(); at-- > 0;) {
    behind = 1.0 / (s * ladder[at].capacitance + 1.0 / (ladder[at].resistance + behind));
  }
  return behind;
}

Complex sum_of_stages(const std::vector<FosterStage>& stages, Complex s) {
  Complex sum = 0;
  for (const FosterStage& stage : stages) {
    sum += stage.resistance / (1.0 + s * stage.tau_s);
  }
  return sum;
}

void expect_near(const std::vector<Rung>& found, const std::vector<Rung>& truth, double part) {
  ASSERT_EQ(found.size(), truth.size());
  for (std::size_t at = 0; at < truth.size(); ++at) {
    EXPECT_NEAR(found[at].resistance / truth[at].resistance, 1, part) << at;
    EXPECT_NEAR(found[at].capacitance / truth[at].capacitance, 1, part) << at;
  }
}

TEST(Ladder, OfOneStageIsThatStage) {
  expect_near(ladder_of({{.resistance = 0.5, .tau_s = 4}}), {{.resistance = 0.5, .capacitance = 8}},
              1e-15);
}

TEST(Ladder, OfNothingIsNothing) {
  EXPECT_TRUE(ladder_of({}).empty());
}

TEST(Ladder, OfADieOnASinkIsTheDieAndTheSink) {
  const TwoNodes machine;  // its stages by the quadratic equation
  const double fast_k_w = machine.die_fast_k_w();
  const std::vector<Rung> ladder =
      ladder_of({{.resistance = fast_k_w, .tau_s = machine.fast_s()},
                 {.resistance = machine.die_k_w() - fast_k_w, .tau_s = machine.slow_s()}});
  expect_near(ladder,
              {{.resistance = 1 / machine.between_w_k, .capacitance = machine.die_j_k},
               {.resistance = 1 / machine.air_w_k, .capacitance = machine.sink_j_k}},
              1e-10);
}

TEST(Ladder, HasTheImpedanceOfItsStagesAtEveryFrequency) {
  const std::vector<FosterStage> stages{{.resistance = 0.1, .tau_s = 1e-4},
                                        {.resistance = 0.3, .tau_s = 2e-2},
                                        {.resistance = 0.05, .tau_s = 0.1},
                                        {.resistance = 0.2, .tau_s = 40}};
  const std::vector<Rung> ladder = ladder_of(stages);
  for (double w = 1e-4; w < 1e6; w *= 1.7) {
    const Complex s(0, w);
    const Complex expected = sum_of_stages(stages, s);
    EXPECT_LT(std::abs(continued_fraction(ladder, s) - expected), 1e-12 * std::abs(expected)) << w;
  }
}

TEST(Ladder, ComesBackFromItsPolesAndResidues) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    const FakeLadder truth = random_ladder(5, 1e-3, 8, seed);
    const std::vector<FosterStage> stages = truth.stages();
    for (const double w : {1e-2, 1.0, 1e3}) {
      const Complex s(0, w);
      const Complex expected = continued_fraction(truth.rungs, s);
      EXPECT_LT(std::abs(sum_of_stages(stages, s) - expected), 1e-9 * std::abs(expected)) << w;
    }
    expect_near(ladder_of(stages), truth.rungs, 1e-6);
  }
}

TEST(Ladder, DoesNotDependOnTheOrderOfItsStages) {
  expect_near(ladder_of({{0.2, 40}, {0.1, 1e-4}, {0.3, 2e-2}}),
              ladder_of({{0.1, 1e-4}, {0.3, 2e-2}, {0.2, 40}}), 1e-12);
}

// A continued fraction in double precision has lost every digit long before this.
TEST(Ladder, OfAHundredStagesOverNineDecadesIsPositiveAndWhole) {
  std::vector<FosterStage> stages;
  double resistance = 0;
  for (int at = 0; at < 120; ++at) {
    const double share = 1.1 + std::sin(0.3 * at) + (at % 7 == 0 ? 1e-6 : 0);
    stages.push_back({.resistance = share, .tau_s = 1e-6 * std::pow(10.0, at / 13.0)});
    resistance += share;
  }
  double sum = 0;
  const std::vector<Rung> ladder = ladder_of(stages);
  ASSERT_EQ(ladder.size(), stages.size());
  for (const Rung& rung : ladder) {
    EXPECT_GT(rung.resistance, 0);
    EXPECT_GT(rung.capacitance, 0);
    sum += rung.resistance;
  }
  EXPECT_NEAR(sum / resistance, 1, 1e-9);
  for (double w = 1e-4; w < 1e7; w *= 3) {
    const Complex s(0, w);
    const Complex expected = sum_of_stages(stages, s);
    EXPECT_LT(std::abs(continued_fraction(ladder, s) - expected), 1e-9 * std::abs(expected)) << w;
  }
}

}  // namespace
}  // namespace lab
