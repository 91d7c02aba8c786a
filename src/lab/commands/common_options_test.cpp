#include "lab/commands/common_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/plan/plan_error.h"

namespace lab {
namespace {

TEST(PlanOptions, ChangeWhatTheyNameAndNothingElse) {
  Plan plan;
  plan.fans.hold = Fans::Hold::maximum;
  PlanOptions options;
  apply(options, plan);
  EXPECT_EQ(plan.fans.hold, Fans::Hold::maximum);
  EXPECT_EQ(plan.load, "bmix");

  options.load = "bfma";
  options.threads = 3;
  options.rate_hz = 5;
  options.keys = {"TC0D"};
  options.fans = "1500";
  options.pstate = "2";
  options.limits = {"TC0D=95", "TC0P=70.5"};
  apply(options, plan);
  EXPECT_EQ(plan.load, "bfma");
  EXPECT_EQ(plan.threads, 3);
  EXPECT_EQ(plan.rate_hz, 5);
  EXPECT_EQ(plan.fans.rpm, 1500);
  EXPECT_EQ(plan.pstate, 2);
  EXPECT_EQ(plan.limits.at("TC0P"), 70.5);

  options.pstate = "automatic";
  options.fans = "automatic";
  apply(options, plan);
  EXPECT_FALSE(plan.pstate);
  EXPECT_EQ(plan.fans.hold, Fans::Hold::automatic);
}

TEST(PlanOptions, RefuseValuesOfAnotherKind) {
  const auto refused = [](auto change) {
    PlanOptions options;
    change(options);
    Plan plan;
    EXPECT_THROW(apply(options, plan), PlanError);
  };
  refused([](PlanOptions& options) { options.fans = "fast"; });
  refused([](PlanOptions& options) { options.fans = "0"; });
  refused([](PlanOptions& options) { options.pstate = "-1"; });
  refused([](PlanOptions& options) { options.pstate = "256"; });
  refused([](PlanOptions& options) { options.limits = {"TC0D"}; });
  refused([](PlanOptions& options) { options.limits = {"TC0D=hot"}; });
}

}  // namespace
}  // namespace lab
