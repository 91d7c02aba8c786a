#include "lab/commands/machine_parts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/engine_process/engine_error.h"

namespace lab {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::vector<MachineKey> kParts{{.name = "TC0D", .unit = "degC", .source = "s"},
                                     {.name = "F0Tg", .unit = "RPM", .source = "s"},
                                     {.name = "F1Tg", .unit = "RPM", .source = "s"},
                                     {.name = "F0Ac", .unit = "RPM", .source = "s"},
                                     {.name = "FCnt", .unit = "", .source = "s", .sampled = false}};

std::string refusal_of(const Plan& plan, const std::vector<MachineKey>& keys = kParts) {
  try {
    refuse_missing_parts(plan, keys);
    return "";
  } catch (const EngineError& error) {
    return error.what();
  }
}

TEST(MachineParts, FansAreKnownByTheirTargets) {
  EXPECT_THAT(fan_targets(kParts), ElementsAre("F0Tg", "F1Tg"));
}

TEST(MachineParts, AKeyIsOneThatCanBeSampled) {
  Plan plan;
  plan.keys = {"TC0D"};
  EXPECT_EQ(refusal_of(plan), "");
  plan.keys = {"TC0D", "NOPE"};
  EXPECT_THAT(refusal_of(plan), HasSubstr("no key \"NOPE\""));
  plan.keys = {"FCnt"};
  EXPECT_THAT(refusal_of(plan), HasSubstr("\"FCnt\" is no key that a run can sample"));
}

TEST(MachineParts, ALimitIsOnAKeyThatCanBeSampled) {
  Plan plan;
  plan.limits = {{"TC0D", 95}};
  EXPECT_EQ(refusal_of(plan), "");
  plan.limits = {{"TC9D", 95}};
  EXPECT_THAT(refusal_of(plan), HasSubstr("limit: this machine has no key \"TC9D\""));
}

TEST(MachineParts, AFanOfAPhaseIsNamedBesideThoseThatThereAre) {
  Plan plan;
  plan.phases.resize(1);
  plan.phases[0].name = "slow";
  plan.phases[0].fan = "F1Tg";
  EXPECT_EQ(refusal_of(plan), "");
  plan.phases[0].fan = "F9Tg";
  EXPECT_THAT(refusal_of(plan),
              HasSubstr("phase \"slow\": this machine has no fan \"F9Tg\": it has F0Tg, F1Tg"));
  EXPECT_EQ(refusal_of(plan, {kParts[0]}), "") << "without any fan the run only warns";
}

TEST(MachineParts, APStateIsOneOfTheMachines) {
  const auto refusal = [](const Plan& plan, std::size_t count) -> std::string {
    try {
      refuse_missing_pstates(plan, [count] { return count; });
      return "";
    } catch (const EngineError& error) {
      return error.what();
    }
  };
  Plan plan;
  plan.phases.resize(2);
  plan.pstate = 7;
  EXPECT_EQ(refusal(plan, 8), "");
  plan.phases[1].pstate = 8;
  EXPECT_THAT(refusal(plan, 8), HasSubstr("P-state 8: this machine has 0 to 7"));
  EXPECT_EQ(refusal(plan, 0), "") << "of a machine that does not say, the engine knows more";
  plan.phases[1].pstate = kAutomaticPState;
  EXPECT_EQ(refusal(plan, 8), "");
}

TEST(MachineParts, APlanWithoutPStatesAsksNoMachineForThem) {
  Plan plan;
  plan.phases.resize(1);
  bool asked = false;
  refuse_missing_pstates(plan, [&] {
    asked = true;
    return std::size_t{1};
  });
  EXPECT_FALSE(asked);
}

}  // namespace
}  // namespace lab
