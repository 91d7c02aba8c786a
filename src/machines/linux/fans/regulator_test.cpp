#include "machines/linux/fans/regulator.h"

#include <gtest/gtest.h>

namespace linux_machine {
namespace {

constexpr auto kNone = std::nullopt;

Curve curve(Curve::Stop stop = Curve::Stop::unproven) {
  return *Curve::make({{50, 500}, {250, 2500}}, stop, 80);  // 10 RPM a step
}

TEST(Regulator, CommandsWhatTheCurveSays) {
  const Command command = command_for(1500, curve(), Motion::turning);
  EXPECT_EQ(command.pwm, 150);
  EXPECT_EQ(command.kick, kNone);
}

TEST(Regulator, AFanAtRestIsKickedIfItsPwmWouldNotStartIt) {
  EXPECT_EQ(command_for(600, curve(), Motion::at_rest).kick, 80);
  EXPECT_EQ(command_for(600, curve(), Motion::at_rest).pwm, 60);
  EXPECT_EQ(command_for(600, curve(), Motion::turning).kick, kNone);
  EXPECT_EQ(command_for(1500, curve(), Motion::at_rest).kick, kNone);
}

TEST(Regulator, OnlyAFanThatProvedItIsStopped) {
  EXPECT_EQ(command_for(0, curve(), Motion::turning).pwm, 50);
  EXPECT_EQ(command_for(0, curve(Curve::Stop::stops_and_starts), Motion::turning).pwm, 0);
  EXPECT_EQ(command_for(1, curve(Curve::Stop::stops_and_starts), Motion::turning).pwm, 50);
}

TEST(Regulator, CorrectsByLessThanTheWholeError) {
  EXPECT_EQ(corrected_pwm(1500, 1400, 150, curve(), kCorrectionNs), 157);
  EXPECT_EQ(corrected_pwm(1500, 1600, 150, curve(), kCorrectionNs), 143);
}

TEST(Regulator, TakesOneLimitedStepEachThreeSeconds) {
  EXPECT_EQ(corrected_pwm(1500, 1400, 150, curve(), kCorrectionNs - 1), kNone);
  EXPECT_EQ(corrected_pwm(2500, 600, 150, curve(), kCorrectionNs), 166);
  EXPECT_EQ(corrected_pwm(600, 2500, 150, curve(), kCorrectionNs), 134);
}

TEST(Regulator, LeavesAFanAloneThatIsNearEnough) {
  EXPECT_EQ(corrected_pwm(1000, 1049, 100, curve(), kCorrectionNs), kNone);
  EXPECT_NE(corrected_pwm(1000, 1051, 100, curve(), kCorrectionNs), kNone);
  EXPECT_EQ(corrected_pwm(2400, 2470, 240, curve(), kCorrectionNs), kNone);
  EXPECT_NE(corrected_pwm(2400, 2473, 240, curve(), kCorrectionNs), kNone);
}

TEST(Regulator, StaysWithinWhatIsProven) {
  EXPECT_EQ(corrected_pwm(510, 900, 52, curve(), kCorrectionNs), 50);
  EXPECT_EQ(corrected_pwm(510, 900, 50, curve(), kCorrectionNs), kNone);
  EXPECT_EQ(corrected_pwm(9000, 2000, 250, curve(), kCorrectionNs), 255);
  EXPECT_EQ(corrected_pwm(9000, 2000, 255, curve(), kCorrectionNs), kNone);
}

TEST(Regulator, LearnsNothingFromAFanAtRestOrAtTheLowest) {
  EXPECT_EQ(corrected_pwm(1500, 0, 150, curve(), kCorrectionNs), kNone);
  EXPECT_EQ(corrected_pwm(0, 700, 50, curve(), kCorrectionNs), kNone);
}

}  // namespace
}  // namespace linux_machine
