#include "machines/linux/fans/regulator.h"

#include <gtest/gtest.h>

namespace linux_machine {
namespace {

constexpr auto kNone = std::nullopt;

Curve even_curve(Curve::Stop stop = Curve::Stop::unproven) {
  return *Curve::make({{50, 500}, {250, 2500}}, stop, 80);  // 10 RPM a step
}

TEST(Regulator, CommandsWhatTheCurveSays) {
  const Command command = command_for(1500, even_curve(), Motion::turning);
  EXPECT_EQ(command.pwm, 150);
  EXPECT_EQ(command.kick, kNone);
}

TEST(Regulator, AFanAtRestIsKickedIfItsPwmWouldNotStartIt) {
  EXPECT_EQ(command_for(600, even_curve(), Motion::at_rest).kick, 80);
  EXPECT_EQ(command_for(600, even_curve(), Motion::at_rest).pwm, 60);
  EXPECT_EQ(command_for(600, even_curve(), Motion::turning).kick, kNone);
  EXPECT_EQ(command_for(1500, even_curve(), Motion::at_rest).kick, kNone);
}

TEST(Regulator, OnlyAFanThatProvedItIsStopped) {
  EXPECT_EQ(command_for(0, even_curve(), Motion::turning).pwm, 50);
  EXPECT_EQ(command_for(0, even_curve(Curve::Stop::stops_and_starts), Motion::turning).pwm, 0);
  EXPECT_EQ(command_for(1, even_curve(Curve::Stop::stops_and_starts), Motion::turning).pwm, 50);
}

TEST(Regulator, CorrectsByLessThanTheWholeError) {
  EXPECT_EQ(corrected_pwm(1500, 1400, 150, even_curve(), kCorrectionNs), 157);
  EXPECT_EQ(corrected_pwm(1500, 1600, 150, even_curve(), kCorrectionNs), 143);
}

TEST(Regulator, TakesOneLimitedStepEachThreeSeconds) {
  EXPECT_EQ(corrected_pwm(1500, 1400, 150, even_curve(), kCorrectionNs - 1), kNone);
  EXPECT_EQ(corrected_pwm(2500, 600, 150, even_curve(), kCorrectionNs), 166);
  EXPECT_EQ(corrected_pwm(600, 2500, 150, even_curve(), kCorrectionNs), 134);
}

TEST(Regulator, LeavesAFanAloneThatIsNearEnough) {
  EXPECT_EQ(corrected_pwm(1000, 1049, 100, even_curve(), kCorrectionNs), kNone);
  EXPECT_NE(corrected_pwm(1000, 1051, 100, even_curve(), kCorrectionNs), kNone);
  EXPECT_EQ(corrected_pwm(2400, 2470, 240, even_curve(), kCorrectionNs), kNone);
  EXPECT_NE(corrected_pwm(2400, 2473, 240, even_curve(), kCorrectionNs), kNone);
}

TEST(Regulator, StaysWithinWhatIsProven) {
  EXPECT_EQ(corrected_pwm(510, 900, 52, even_curve(), kCorrectionNs), 50);
  EXPECT_EQ(corrected_pwm(510, 900, 50, even_curve(), kCorrectionNs), kNone);
  EXPECT_EQ(corrected_pwm(9000, 2000, 250, even_curve(), kCorrectionNs), 255);
  EXPECT_EQ(corrected_pwm(9000, 2000, 255, even_curve(), kCorrectionNs), kNone);
}

TEST(Regulator, LearnsNothingFromAFanAtRestOrAtTheLowest) {
  EXPECT_EQ(corrected_pwm(1500, 0, 150, even_curve(), kCorrectionNs), kNone);
  EXPECT_EQ(corrected_pwm(0, 700, 50, even_curve(), kCorrectionNs), kNone);
}

/// How often a regulator changes the pwm of a chip that makes `speed` of it, in so many rounds.
template <class Speed>
int corrections(Regulator& regulator, double target_rpm, int& pwm, int rounds, Speed speed) {
  int changes = 0;
  for (int round = 0; round < rounds; ++round) {
    const auto next = regulator.next_pwm(target_rpm, speed(pwm), pwm, even_curve(), kCorrectionNs);
    changes += next ? 1 : 0;
    pwm = next.value_or(pwm);
  }
  return changes;
}

TEST(Regulator, EndsWhereACorrectionChangedNothing) {
  Regulator regulator;
  int pwm = 150;
  EXPECT_EQ(corrections(regulator, 1500, pwm, 100, [](int) { return 1200; }), 1);
  regulator.begin_anew();
  EXPECT_EQ(corrections(regulator, 1500, pwm, 100, [](int) { return 1200; }), 1);
}

TEST(Regulator, StaysAtTheNearerOfTwoSpeeds) {
  Regulator regulator;
  int pwm = 150;
  const auto speed = [](int given) { return given <= 155 ? 1340 : 1680; };
  EXPECT_EQ(corrections(regulator, 1500, pwm, 100, speed), 2);
  EXPECT_EQ(speed(pwm), 1340);
  regulator.begin_anew();
  pwm = 162;
  EXPECT_EQ(corrections(regulator, 1500, pwm, 100, speed), 3);  // the last takes one back
  EXPECT_EQ(speed(pwm), 1340);
}

TEST(Regulator, DoesNotStayFarPastATarget) {
  Regulator regulator;
  int pwm = 150;
  const auto speed = [](int given) { return given <= 155 ? 1400 : 2300; };
  EXPECT_LE(corrections(regulator, 1500, pwm, 100, speed), 5);
  EXPECT_EQ(speed(pwm), 1400);
}

TEST(Regulator, ThatGaveUpBeginsAnewWhenTheFanChangesByItself) {
  Regulator regulator;
  int pwm = 150;
  corrections(regulator, 1500, pwm, 10, [](int) { return 1200; });
  EXPECT_EQ(corrections(regulator, 1500, pwm, 1, [](int) { return 900; }), 1);
}

TEST(Regulator, GoesOnWhileTheSpeedFollows) {
  Regulator regulator;
  int pwm = 70;
  EXPECT_GT(corrections(regulator, 2000, pwm, 100, [](int given) { return given * 12; }), 5);
  EXPECT_NEAR(pwm * 12, 2000, 60);
}

}  // namespace
}  // namespace linux_machine
