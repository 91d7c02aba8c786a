#include "lab/report/time_axis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace lab {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(TimeAxis, HasAUnitThatGivesReadableNumbers) {
  EXPECT_EQ(time_unit(180).name, "s");
  EXPECT_EQ(time_unit(3600).name, "min");
  EXPECT_EQ(time_unit(86400).name, "h");
  EXPECT_EQ(time_unit(86400).seconds, 3600);
}

TEST(TimeAxis, FindsWhereNothingWasMeasured) {
  EXPECT_THAT(gaps({0, 0.1, 0.2, 9, 9.1}), ElementsAre(2));
  EXPECT_THAT(gaps({0, 0.1, 0.2, 1.9, 2}), IsEmpty()) << "less than two seconds";
  EXPECT_THAT(gaps({0, 60, 120, 240}), IsEmpty()) << "less than ten steps";
  EXPECT_THAT(gaps({}), IsEmpty());
}

TEST(TimeAxis, PutsNothingIntoAGap) {
  EXPECT_THAT(with_instants({0, 1, 9}, {1}), ElementsAre(0, 1, 5, 9));
  const std::vector<double> values = with_nothing({7, 8, 9}, {1});
  ASSERT_EQ(values.size(), 4U);
  EXPECT_TRUE(std::isnan(values[2]));
  EXPECT_EQ(values[3], 9);
}

TEST(TimeAxis, SaysWhenEachPhaseWas) {
  Plan plan;
  plan.phases.resize(2);
  plan.phases[0].name = "idle";
  plan.phases[1].name = "load";
  Table samples{.time_s = {0, 1, 2, 3}, .columns = {}};
  samples.columns.push_back(
      {.name = std::string(kPhaseColumn), .unit = {}, .source = {}, .values = {0, 0, 1, 1}});
  const std::vector<NamedStretch> phases = phases_in(samples, plan);
  ASSERT_EQ(phases.size(), 2U);
  EXPECT_EQ(phases[0].name, "idle");
  EXPECT_EQ(phases[0].end, 2);
  EXPECT_EQ(phases[1].begin, 2);
  EXPECT_EQ(phases[1].end, 4) << "the last sample stands for a second as well";
}

TEST(TimeAxis, KnowsNoNameForAPhaseThatThePlanDoesNotHave) {
  Table samples{.time_s = {0, 1}, .columns = {}};
  samples.columns.push_back({.name = std::string(kPhaseColumn),
                             .unit = {},
                             .source = {},
                             .values = {std::numeric_limits<double>::quiet_NaN(), 5}});
  const std::vector<NamedStretch> phases = phases_in(samples, {});
  ASSERT_EQ(phases.size(), 1U);
  EXPECT_EQ(phases[0].name, "");
}

}  // namespace
}  // namespace lab
