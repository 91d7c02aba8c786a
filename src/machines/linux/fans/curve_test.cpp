#include "machines/linux/fans/curve.h"

#include <gtest/gtest.h>

#include <limits>

namespace linux_machine {
namespace {

const std::vector<CurvePoint> kPoints = {{255, 2000}, {128, 1200}, {64, 700}, {48, 500}};

Curve curve(Curve::Stop stop = Curve::Stop::unproven) {
  return *Curve::make(kPoints, stop, 70);
}

TEST(CurveTest, GivesThePwmBetweenTheMeasuredPoints) {
  EXPECT_EQ(curve().pwm_for(1200), 128);
  EXPECT_EQ(curve().pwm_for(950), 96);
  EXPECT_EQ(curve().pwm_for(600), 56);
}

TEST(CurveTest, StaysWithinWhatWasMeasured) {
  EXPECT_EQ(curve().pwm_for(100), 48);
  EXPECT_EQ(curve().pwm_for(65535), 255);
  EXPECT_DOUBLE_EQ(curve().rpm_at(1), 500);
  EXPECT_DOUBLE_EQ(curve().rpm_at(255), 2000);
  EXPECT_DOUBLE_EQ(curve().rpm_at(96), 950);
}

TEST(CurveTest, TakesASpeedThatFallsWithRisingPwmAsNoise) {
  const auto noisy = Curve::make({{50, 600}, {100, 590}, {255, 1500}}, Curve::Stop::unproven, 50);
  ASSERT_TRUE(noisy);
  EXPECT_DOUBLE_EQ(noisy->rpm_at(100), 600);
  EXPECT_EQ(noisy->pwm_for(600), 50);
}

TEST(CurveTest, IsNotMadeOfWhatIsNone) {
  const auto made = [](std::vector<CurvePoint> points, int start) {
    return Curve::make(std::move(points), Curve::Stop::unproven, start).has_value();
  };
  EXPECT_TRUE(made({{48, 500}, {255, 2000}}, 48));
  EXPECT_FALSE(made({}, 48));
  EXPECT_FALSE(made({{255, 2000}}, 255));
  EXPECT_FALSE(made({{48, 500}, {48, 600}}, 48));
  EXPECT_FALSE(made({{0, 500}, {255, 2000}}, 48));
  EXPECT_FALSE(made({{48, 500}, {256, 2000}}, 48));
  EXPECT_FALSE(made({{48, 0}, {255, 2000}}, 48));
  EXPECT_FALSE(made({{48, std::numeric_limits<double>::quiet_NaN()}, {255, 2000}}, 48));
  EXPECT_FALSE(made({{48, 500}, {255, 2000}}, 47));
  EXPECT_FALSE(made({{48, 500}, {255, 2000}}, 256));
}

TEST(CurveTest, WithoutOneAFanIsNotTakenBelowFortyPercent) {
  const Curve proportional = Curve::proportional(2550);
  EXPECT_EQ(proportional.lowest_pwm(), 102);
  EXPECT_DOUBLE_EQ(proportional.lowest_rpm(), 1020);
  EXPECT_EQ(proportional.pwm_for(2000), 200);
  EXPECT_EQ(proportional.pwm_for(0), 102);
  EXPECT_FALSE(proportional.can_stop());
}

}  // namespace
}  // namespace linux_machine
