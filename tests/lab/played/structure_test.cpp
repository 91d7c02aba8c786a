#include <gtest/gtest.h>

#include <random>

#include "lab/played/played.h"
#include "lab/questions/step.h"

namespace lab {
namespace {

// docs/simulated-machine.md: the die has 2 J/K and 1/4 K/W to the sink, which has 150 J/K and
// 1/5.5 K/W to the air while the fans are at their maximum.
TEST(PlayedStructure, IsThatOfTheMachinesDocument) {
  Step step;
  Plan plan = step.plan();
  plan.structure = true;
  lab::Run run = played(plan);
  std::mt19937_64 random(1);
  disturb(run, "TC0D", 0.1, 0, random);
  const Answer answer = step.analyse(run);
  ASSERT_TRUE(answer.decided);
  EXPECT_EQ(answer.figures["heated"], "TC0D");
  EXPECT_EQ(answer.figures["keys"]["TC0P"]["impedance"], "transfer");
  const auto& ladder = answer.figures["ladder"];
  ASSERT_EQ(ladder.size(), 2U);
  EXPECT_NEAR(ladder[0]["capacitance"]["value"], 2, 0.2);
  EXPECT_NEAR(ladder[0]["resistance"]["value"], 0.25, 0.025);
  EXPECT_NEAR(ladder[1]["capacitance"]["value"], 150, 15);
  EXPECT_NEAR(ladder[1]["resistance"]["value"], 1 / 5.5, 0.018);
}

}  // namespace
}  // namespace lab
