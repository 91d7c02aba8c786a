#include <gtest/gtest.h>

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

}  // namespace
}  // namespace lab
