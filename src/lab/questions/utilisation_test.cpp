#include "lab/questions/utilisation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/plan/plan_error.h"

namespace lab {
namespace {

std::vector<double> duties(const std::vector<ProfilePoint>& profile) {
  std::vector<double> found;
  for (const ProfilePoint& point : profile) {
    found.push_back(point.duty);
  }
  return found;
}

TEST(Utilisation, HoldsEachValueUntilTheNextAndTheLastOneAsLong) {
  const auto profile = parse_utilisation("time,busy\n10,0.2\n11,0.5\n13,1\n", "a.csv", {});
  EXPECT_THAT(duties(profile), testing::ElementsAre(0.2, 0.5, 1, 0));
  EXPECT_EQ(profile[0].time_s, 0);
  EXPECT_EQ(profile[2].time_s, 3);
  EXPECT_EQ(profile[3].time_s, 5);
}

TEST(Utilisation, IsInPerCentIfAnyIsAboveOne) {
  const auto profile = parse_utilisation("0 1\n1 50\n2 100.5\n", "a.csv", {});
  EXPECT_THAT(duties(profile), testing::ElementsAre(0.01, 0.5, 1, 0));
  const auto told =
      parse_utilisation("0 1\n1 0.5\n", "a.csv", {.unit = UtilisationLayout::Unit::percent});
  EXPECT_THAT(duties(told), testing::ElementsAre(0.01, 0.005, 0));
}

TEST(Utilisation, ColumnsGoByTheirNamesAndGapsRepeat) {
  const auto profile = parse_utilisation("ms;host;cpu\n0;a;10\n500;a;\n1000;a;30\n", "a.csv",
                                         {.time = "ms", .time_unit_s = 1e-3, .column = "cpu"});
  EXPECT_THAT(duties(profile), testing::ElementsAre(0.1, 0.1, 0.3, 0));
  EXPECT_NEAR(profile[3].time_s, 1.5, 1e-12);
}

TEST(Utilisation, RefusesWhatIsNone) {
  const auto refuses = [](const char* text) {
    EXPECT_THROW(parse_utilisation(text, "a.csv", {}), PlanError) << text;
  };
  refuses("0 50\n1 250\n");
  refuses("0 -0.5\n1 0.5\n");
  refuses("0 x\n1 y\n2 z\n");
}

}  // namespace
}  // namespace lab
