#include "lab/engine_process/held.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

const Means kWithRoot{.keys = {}, .fan_keys = {"F0Tg"}, .root = true};
const Means kWithoutRoot{.keys = {}, .fan_keys = {"F0Tg"}, .root = false};

Plan two_phases() {
  Plan plan;
  plan.phases.resize(2);
  plan.fans.hold = Fans::Hold::maximum;
  plan.pstate = 2;
  return plan;
}

TEST(Held, IsWhatThePlanAsksForIfTheEngineMay) {
  EXPECT_EQ(fans_held(two_phases(), kWithRoot), "held at their maximum");
  EXPECT_EQ(pstate_held(two_phases(), kWithRoot), "P-state 2 forced");
  EXPECT_EQ(fans_held(two_phases(), kWithoutRoot), "left to the machine");
  EXPECT_EQ(pstate_held(two_phases(), kWithoutRoot), "left to the machine");
}

TEST(Held, APhaseMayUndoWhatThePlanHolds) {
  Plan plan = two_phases();
  plan.phases[1].fans = Fans{};
  plan.phases[1].pstate = kAutomaticPState;
  EXPECT_EQ(fans_held(plan, kWithRoot), "not the same in all phases");
  EXPECT_EQ(pstate_held(plan, kWithRoot), "not the same in all phases");
  EXPECT_EQ(fans_held(fans_of(plan, plan.phases[1]), kWithRoot), "left to the machine");
  EXPECT_EQ(pstate_held(pstate_of(plan, plan.phases[1]), kWithRoot), "left to the machine");
}

TEST(Held, WithoutPhasesIsWhatTheOptionsSay) {
  EXPECT_EQ(fans_held(Plan(), kWithRoot), "as the engine's options have it");
}

}  // namespace
}  // namespace lab
