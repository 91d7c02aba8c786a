#include <gtest/gtest.h>

#include <random>

#include "lab/analysis/comparison.h"
#include "lab/analysis/step.h"
#include "lab/fakes/fake_two_nodes.h"

namespace lab {
namespace {

/// A step of 175 s on the two nodes at 4 Hz, with noise of half a kelvin on each sample.
ComparedRun noisy_run(const TwoNodes& machine, unsigned seed) {
  static const StepInput same = TwoNodes().record(one_step, 175, 0.25);
  StepInput input =
      machine.air_w_k == TwoNodes().air_w_k ? same : machine.record(one_step, 175, 0.25);
  std::mt19937_64 random(seed);
  disturb(input, 0.5, 0, random);
  return {.name = "run " + std::to_string(seed), .answer = analyse_step(input), .conditions = {}};
}

/// The die of this one has 5 % more resistance to the air, all of it behind the sink.
TwoNodes five_percent_worse() {
  TwoNodes machine;
  machine.air_w_k = 1 / (machine.sink_k_w() + 0.05 * machine.die_k_w());
  return machine;
}

TEST(Compare, SaysOfTheSameRunMadeTwiceThatThereIsNoDifferenceIn95Of100Pairs) {
  int same = 0;
  int same_without_least = 0;
  for (unsigned pair = 0; pair < 100; ++pair) {
    const std::vector<ComparedRun> runs{noisy_run({}, 2 * pair + 1), noisy_run({}, 2 * pair + 2)};
    same += compare(runs, {}).verdict == Verdict::same ? 1 : 0;
    same_without_least += compare(runs, {.least = 0, .keys = {}}).verdict == Verdict::same ? 1 : 0;
  }
  EXPECT_GE(same, 95);
  EXPECT_GE(same_without_least, 95);
}

TEST(Compare, FindsFivePercentMoreResistanceInThreeMinutesIn99Of100Pairs) {
  const TwoNodes worse = five_percent_worse();
  int found = 0;
  for (unsigned pair = 0; pair < 100; ++pair) {
    const Comparison comparison =
        compare({noisy_run({}, 2 * pair + 1), noisy_run(worse, 2 * pair + 2)}, {});
    found += comparison.verdict == Verdict::worse ? 1 : 0;
  }
  EXPECT_GE(found, 99);
}

}  // namespace
}  // namespace lab
