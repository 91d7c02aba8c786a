#include "vorn/schedule_check.h"

#include <limits>
#include <string>

#include "support/settings_fixture.h"
#include "vorn/settings.h"

namespace {

using ScheduleCheck = SettingsFixture;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST_F(ScheduleCheck, FitsIntoHalfOfTheMemory) {
  EXPECT_TRUE(schedule_fits(1000, 8000));
  EXPECT_FALSE(schedule_fits(1002, 8000));
  EXPECT_FALSE(schedule_fits(1e10, 1e18)) << "more slots than can be counted";
  EXPECT_FALSE(schedule_fits(kInfinity, 1e18));
}

TEST_F(ScheduleCheck, TakesWhatIsSmallAndWhatIsEmpty) {
  frequency = 10.0;
  EXPECT_EQ(check_schedule(), 0);
  for (const double envelope : {1.0, kInfinity}) {
    sinusoid = envelope;
    EXPECT_EQ(check_schedule(), 0) << envelope;
  }
}

TEST_F(ScheduleCheck, RefusesAndSaysWhy) {
  frequency = 1e6;
  sinusoid = 1e-6;
  testing::internal::CaptureStderr();
  EXPECT_EQ(check_schedule(), -1);
  const std::string text = testing::internal::GetCapturedStderr();
  EXPECT_NE(text.find("one wave of 2e+12 intervals takes 8e+06 MB"), std::string::npos) << text;
}

}  // namespace
