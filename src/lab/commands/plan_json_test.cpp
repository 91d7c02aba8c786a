#include "lab/commands/plan_json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace lab {
namespace {

TEST(PlanJson, HasTheShortestNumbersThatReadAsTheSame) {
  Plan plan;
  plan.question = "step";
  plan.limits = {{"TC0D", 95.5}};
  Phase phase;
  phase.name = "load";
  phase.drive.duty = 0.05;
  phase.duration_s = 10;
  plan.phases = {phase};
  const std::string text = plan_json(plan);
  EXPECT_THAT(text, testing::HasSubstr("\"duty\": 0.05,"));
  const auto json = nlohmann::json::parse(text);
  EXPECT_EQ(json["question"], "step");
  EXPECT_EQ(json["limits"]["TC0D"], 95.5);
  EXPECT_EQ(json["phase"][0]["duration"], 10);
}

}  // namespace
}  // namespace lab
