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

TEST(EngineLoads, OneThatIsNotThereIsNamedBesideThoseThatAre) {
  Plan plan;
  plan.phases.resize(2);
  refuse_unknown_loads(plan, {"bmix", "bint"});
  plan.phases[1].load = "nope";
  try {
    refuse_unknown_loads(plan, {"bmix", "bint"});
    FAIL() << "it was taken";
  } catch (const EngineError& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr(" has no load \"nope\": it has bmix, bint"));
  }
}

}  // namespace
}  // namespace lab
