#include "lab/plan/duration.h"

#include <gtest/gtest.h>

#include "lab/plan/plan_error.h"

namespace lab {
namespace {

TEST(LabDuration, ANumberAloneIsInSeconds) {
  EXPECT_EQ(parse_duration("90"), 90.0);
  EXPECT_EQ(parse_duration("0.5"), 0.5);
}

TEST(LabDuration, UnitsGoFromMicrosecondsToHours) {
  EXPECT_DOUBLE_EQ(*parse_duration("250us"), 250e-6);
  EXPECT_DOUBLE_EQ(*parse_duration("500ms"), 0.5);
  EXPECT_DOUBLE_EQ(*parse_duration("90 s"), 90);
  EXPECT_DOUBLE_EQ(*parse_duration("2m"), 120);
  EXPECT_DOUBLE_EQ(*parse_duration("1.5h"), 5400);
}

TEST(LabDuration, RefusesWhatIsNoLengthOfTime) {
  for (const char* text : {"", "s", "-1", "1 day", "inf", "nan", "1s2", "0x10"}) {
    EXPECT_FALSE(parse_duration(text)) << text;
  }
}

TEST(LabDuration, OfAnOptionIsLongerThanNothing) {
  EXPECT_DOUBLE_EQ(option_seconds("--hold", "2m"), 120);
  for (const char* text : {"0", "soon"}) {
    try {
      option_seconds("--hold", text, "8, 8s or 1m");
      ADD_FAILURE() << text << " was taken";
    } catch (const PlanError& error) {
      EXPECT_EQ(error.what(),
                "--hold takes a time, such as 8, 8s or 1m, and not \"" + std::string(text) + "\"");
    }
  }
}

TEST(LabDuration, IsSpokenInItsTwoLargestUnits) {
  EXPECT_EQ(spoken(0.4), "0 s");
  EXPECT_EQ(spoken(59.4), "59 s");
  EXPECT_EQ(spoken(60), "1 min");
  EXPECT_EQ(spoken(175), "2 min 55 s");
  EXPECT_EQ(spoken(3600), "1 h");
  EXPECT_EQ(spoken(3900), "1 h 5 min");
}

}  // namespace
}  // namespace lab
