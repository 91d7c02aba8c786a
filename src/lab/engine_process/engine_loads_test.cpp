#include "lab/engine_process/engine_loads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/engine_process/engine_error.h"

namespace lab {
namespace {

TEST(EngineLoads, AreThoseOfTheHelp) {
  EXPECT_THAT(parse_loads("Usage: x\n   -w | --workload <w>   one of:\n\t\"bmix\"\tblocking\n"
                          "\t\"spin\"\tminimal\nand, beyond\n\t\n"),
              testing::ElementsAre("bmix", "spin"));
  EXPECT_TRUE(parse_loads("").empty());
}

std::string refusal_of(const std::string& load) {
  Plan plan;
  plan.phases.resize(2);
  plan.phases[1].load = load;
  try {
    refuse_unfit_loads(plan, {"bint", "bmix", "int", "mix"});
    return "";
  } catch (const EngineError& error) {
    return error.what();
  }
}

TEST(EngineLoads, OneThatIsNotThereIsNamedBesideThoseThatAre) {
  EXPECT_EQ(refusal_of("bint"), "");
  EXPECT_THAT(refusal_of("nope"), testing::HasSubstr("load \"nope\": "));
  EXPECT_THAT(refusal_of("nope"),
              testing::HasSubstr("has none of that name: those that follow a duty are bint, bmix"));
}

TEST(EngineLoads, OneThatNeverPausesIsRefusedWithTheOneThatDoes) {
  EXPECT_THAT(refusal_of("int"), testing::StartsWith("load \"int\": it never pauses"));
  EXPECT_THAT(refusal_of("int"), testing::HasSubstr("choose \"bint\""));
  EXPECT_THAT(refusal_of("int"), testing::HasSubstr("loads that pause are bint, bmix"));
}

}  // namespace
}  // namespace lab
