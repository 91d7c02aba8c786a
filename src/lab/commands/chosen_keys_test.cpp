#include "lab/commands/chosen_keys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "lab/engine_process/engine_error.h"
#include "lab/engine_process/engine_options.h"

namespace lab {
namespace {

using testing::ElementsAre;

const std::vector<MachineKey> kKeys{{.name = "PC0C", .unit = "W", .source = "s"},
                                    {.name = "TC0D", .unit = "degC", .source = "s"},
                                    {.name = "F0Ac", .unit = "RPM", .source = "s"},
                                    {.name = "F0Tg", .unit = "RPM", .source = "s"}};

std::vector<std::string> names(const Plan& plan) {
  std::vector<std::string> found;
  for (const KeyInfo& key : chosen_keys(plan, kKeys)) {
    found.push_back(key.name);
  }
  return found;
}

TEST(ChosenKeys, AreThoseThatThePlanNamesOrAllThatAreWorthIt) {
  Plan plan;
  EXPECT_THAT(names(plan), ElementsAre("PC0C", "TC0D", "F0Ac"));
  plan.keys = {"F0Ac", "TC0D"};
  EXPECT_THAT(names(plan), ElementsAre("F0Ac", "TC0D"));
  plan.keys = {"NOPE"};
  EXPECT_THROW(names(plan), EngineError);
}

TEST(ChosenKeys, AreInTheOrderOfTheEnginesColumnsWithThePowerToo) {
  Plan plan;
  plan.engine_options = {"-k", "TC0D", "-k", "F0Ac"};
  plan.keys = read_engine_options(plan.engine_options).keys;
  plan.power = "PC0C";
  const std::vector<std::string> arguments = arguments_with(plan.engine_options, 10, names(plan));
  std::vector<std::string> sampled;
  for (std::size_t at = 0; at + 1 < arguments.size(); ++at) {
    if (arguments[at] == "-k") {
      sampled.push_back(arguments[at + 1]);
    }
  }
  EXPECT_EQ(sampled, names(plan));
  EXPECT_THAT(sampled, ElementsAre("PC0C", "TC0D", "F0Ac"));
}

TEST(ChosenKeys, RefuseAPowerThatIsNone) {
  Plan plan;
  plan.power = "TC0D";
  EXPECT_THROW(names(plan), EngineError);
}

}  // namespace
}  // namespace lab
