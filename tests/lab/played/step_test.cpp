#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "lab/played/played.h"
#include "lab/questions/step.h"

namespace lab {
namespace {

// docs/simulated-machine.md: full load with every fan at its maximum.
TEST(PlayedStep, ComesToTheDocumentedSteadyState) {
  Plan plan;
  plan.fans.hold = Fans::Hold::maximum;
  Phase load;
  load.drive.duty = 1;
  load.duration_s = 300;
  plan.phases = {load};
  const lab::Run run = played(plan);
  ASSERT_EQ(run.samples.time_s.size(), 3000U);
  EXPECT_NEAR(run.samples.find("PC0C")->values.back(), 85.26, 0.01);
  EXPECT_NEAR(run.samples.find("TC0D")->values.back(), 61.81, 0.01);
  EXPECT_NEAR(run.samples.find("F0Ac")->values.back(), 5200, 1);
  EXPECT_NEAR(run.samples.find(kDeliveredColumn)->values.back(), 1, 1e-9);
}

TEST(PlayedStep, DeliversADutyAsPulsesOfTheCarrier) {
  Plan plan;
  plan.rate_hz = 1000;
  Phase load;
  load.drive.duty = 0.3;
  load.duration_s = 1;
  plan.phases = {load};
  const lab::Run run = played(plan);
  const std::vector<double>& delivered = run.samples.find(kDeliveredColumn)->values;
  EXPECT_NEAR(delivered[1], 1, 1e-9);   // within the first 15 ms of 50
  EXPECT_NEAR(delivered[20], 0, 1e-9);  // after them
  EXPECT_NEAR(delivered[51], 1, 1e-9);  // the next period
}

TEST(PlayedStep, AnswersTheQuestionOfAStep) {
  Step step;
  const lab::Run run = played(step.plan());
  const Answer answer = step.analyse(run);
  ASSERT_TRUE(answer.decided);
  const double resistance = answer.figures["keys"]["TC0D"]["resistance"]["value"];
  EXPECT_NEAR(resistance, 0.4318, 0.03 * 0.4318);
}

TEST(PlayedStep, SamplesThatComeFasterThanThePowerIsMeasuredGiveTheSameNumbers) {
  for (const double rate_hz : {20.0, 100.0}) {
    const Step step;
    Plan plan = step.plan();
    plan.rate_hz = rate_hz;
    plan.keys = {"PC0C", "TC0D"};
    plan.phases[1].until_settled = plan.phases[2].until_settled = false;
    plan.phases[1].duration_s = plan.phases[2].duration_s = 90;
    const Answer answer = step.analyse(played(plan));
    const auto& die = answer.figures["keys"]["TC0D"];
    const auto value = [](const nlohmann::ordered_json& estimate) {
      return estimate["value"].get<double>();
    };
    EXPECT_NEAR(value(die["resistance"]), 0.4318, 0.01 * 0.4318) << rate_hz;
    ASSERT_EQ(die["stages"].size(), 2U) << rate_hz;
    EXPECT_NEAR(value(die["stages"][0]["time_constant"]), 0.4933, 0.01 * 0.4933) << rate_hz;
    EXPECT_NEAR(value(die["stages"][1]["time_constant"]), 27.64, 0.01 * 27.64) << rate_hz;
    EXPECT_NE(std::find_if(answer.warnings.begin(), answer.warnings.end(),
                           [](const std::string& warning) {
                             return warning.starts_with("A reading of power is a mean over 0.1 s");
                           }),
              answer.warnings.end());
  }
}

}  // namespace
}  // namespace lab
