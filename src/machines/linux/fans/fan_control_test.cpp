#include "machines/linux/fans/fan_control.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <set>

#include "support/machine/fan_fixture.h"

namespace linux_machine {
namespace {

constexpr auto kProven = Curve::Stop::stops_and_starts;

bool within(double measured, double wanted) {
  return std::abs(measured - wanted) <= 0.03 * wanted;
}

TEST(FanControl, FindsTheBoardsFansUnforced) {
  FanFixture bench;
  bench.new_run();
  ASSERT_EQ(bench.control->channels().size(), 2U);
  EXPECT_EQ(bench.control->force_bits(), 0);
  EXPECT_EQ(bench.memory.writes(), 2);  // of the moving machine itself, when its fans were read
}

TEST(FanControl, AForcedFanWithoutTargetKeepsItsPwm) {
  FanFixture bench;
  bench.new_run();
  const double before = bench.speed(1);
  ASSERT_TRUE(bench.control->set_force_bits(1));
  EXPECT_EQ(bench.shown("pwm1_enable"), 1);
  EXPECT_EQ(bench.shown("pwm1"), 110);
  EXPECT_EQ(bench.shown("pwm2_enable"), 5);
  bench.pass(20);
  EXPECT_NEAR(bench.speed(1), before, 1);
  EXPECT_EQ(bench.control->force_bits(), 1);
}

TEST(FanControl, AForcedFanDoesNotFallBackToAnOldPwmOfTheChip) {
  std::vector<MovingFan> fans = FanFixture::two_fans();
  fans[0].goes_on_in_manual = false;
  FanFixture bench("nct6779", "5", fans);
  bench.new_run();
  ASSERT_EQ(bench.memory.text(FanFixture::attribute("pwm1")), "100");
  ASSERT_TRUE(bench.control->set_force_bits(1));
  EXPECT_EQ(bench.shown("pwm1"), 110);
}

TEST(FanControl, ReachesATargetThroughItsCurve) {
  for (const double target : {700, 1000, 1500, 1900}) {
    FanFixture bench;
    bench.save_true_curve(0, kProven);
    bench.new_run();
    ASSERT_TRUE(bench.control->set_force_bits(1));
    ASSERT_TRUE(bench.control->set_target_rpm(0, target));
    bench.pass(8);
    EXPECT_TRUE(within(bench.speed(1), target)) << target << ": " << bench.speed(1);
  }
}

TEST(FanControl, ReachesATargetWithoutACurve) {
  for (const double target : {1200, 1500, 1800}) {
    FanFixture bench;
    bench.new_run();
    ASSERT_TRUE(bench.control->set_force_bits(1));
    ASSERT_TRUE(bench.control->set_target_rpm(0, target));
    bench.pass(40);
    // The correction leaves a fan alone that is within 50 RPM.
    EXPECT_NEAR(bench.speed(1), target, std::max(50.0, 0.03 * target)) << target;
  }
}

TEST(FanControl, AppliesATargetThatWasWrittenBeforeForcing) {
  FanFixture bench;
  bench.save_true_curve(0, kProven);
  bench.new_run();
  ASSERT_TRUE(bench.control->set_target_rpm(0, 1500));
  EXPECT_EQ(bench.shown("pwm1_enable"), 5);
  EXPECT_DOUBLE_EQ(*bench.control->target_rpm(0), 1500);
  ASSERT_TRUE(bench.control->set_force_bits(1));
  bench.pass(8);
  EXPECT_TRUE(within(bench.speed(1), 1500));
}

TEST(FanControl, BeforeATargetIsWrittenItIsTheSpeedThatTheFanHas) {
  FanFixture bench;
  bench.new_run();
  EXPECT_NEAR(*bench.control->target_rpm(0), bench.speed(1), 1);
}

TEST(FanControl, StopsAndStartsAFanThatProvedIt) {
  FanFixture bench;
  bench.save_true_curve(0, kProven);
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  ASSERT_TRUE(bench.control->set_target_rpm(0, 0));
  bench.pass(10);
  EXPECT_EQ(bench.speed(1), 0);
  EXPECT_EQ(bench.control->force_bits(), 1);  // it is to stand: that is no trip
  ASSERT_TRUE(bench.control->set_target_rpm(0, 500));
  EXPECT_EQ(bench.shown("pwm1"), 70);  // what starts it
  bench.pass(1.5);
  EXPECT_LT(bench.shown("pwm1"), 70);
  bench.pass(10);
  EXPECT_NEAR(bench.speed(1), 500, 50);
  EXPECT_EQ(bench.control->force_bits(), 1);
}

TEST(FanControl, HoldsAFanThatDidNotProveItAtItsLowest) {
  FanFixture bench;
  bench.save_true_curve(0, Curve::Stop::unproven);
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(3));
  ASSERT_TRUE(bench.control->set_target_rpm(0, 0));
  ASSERT_TRUE(bench.control->set_target_rpm(1, 0));
  EXPECT_EQ(bench.shown("pwm1"), 32);
  EXPECT_EQ(bench.shown("pwm2"), 102);
  bench.pass(20);
  EXPECT_GT(bench.speed(1), 0);
  EXPECT_GT(bench.speed(2), 0);
}

TEST(FanControl, FollowsAWaveOfStopAndMaximum) {
  FanFixture bench;
  bench.save_true_curve(0, kProven);
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  const double most = *bench.control->maximum_rpm(0);
  for (int period = 0; period < 4; ++period) {
    ASSERT_TRUE(bench.control->set_target_rpm(0, 0));
    bench.pass(6);
    EXPECT_EQ(bench.speed(1), 0);
    ASSERT_TRUE(bench.control->set_target_rpm(0, most));
    bench.pass(6);
    EXPECT_TRUE(within(bench.speed(1), most));
  }
  EXPECT_EQ(bench.control->force_bits(), 1);
}

TEST(FanControl, AFastWaveIsNoTrip) {
  FanFixture bench;
  bench.save_true_curve(0, kProven);
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  for (int half = 0; half < 40; ++half) {
    ASSERT_TRUE(bench.control->set_target_rpm(0, half % 2 == 0 ? 0 : 2000));
    bench.pass(0.5);
  }
  EXPECT_EQ(bench.control->force_bits(), 1);
}

TEST(FanControl, GivesBackExactlyWhatItFound) {
  for (const char* mode : {"5", "2", "1", "0"}) {
    FanFixture bench("nct6779", mode);
    bench.save_true_curve(0, kProven);
    bench.new_run();
    const auto before = bench.state();
    ASSERT_TRUE(bench.control->set_force_bits(3)) << mode;
    ASSERT_TRUE(bench.control->set_target_rpm(0, 1800)) << mode;
    EXPECT_NE(bench.state(), before);
    ASSERT_TRUE(bench.control->set_force_bits(2)) << mode;
    ASSERT_TRUE(bench.control->set_force_bits(0)) << mode;
    EXPECT_EQ(bench.state(), before) << mode;
    EXPECT_TRUE(bench.surroundings.reports().empty()) << mode;
  }
}

TEST(FanControl, TwoFansOfOneSwitchAreGivenBackTogether) {
  std::vector<MovingFan> fans = FanFixture::two_fans();
  for (MovingFan& fan : fans) {
    fan.modes = {1, 2};
    fan.full_reads_as_zero = false;
  }
  FanFixture bench("dell_smm", "?", fans);
  std::vector<std::string> switched;
  bench.memory.on_write(FanFixture::attribute("pwm1_enable"), [&](std::string& text) {
    switched.push_back(text);
    return 0;
  });
  // The second channel has no switch of its own; in this tree it is manual throughout.
  bench.memory.put("moving/fan1_mode", "1");
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(3));
  EXPECT_EQ(switched.back(), "1");
  ASSERT_TRUE(bench.control->set_force_bits(2));
  EXPECT_EQ(switched.back(), "1");
  ASSERT_TRUE(bench.control->set_force_bits(0));
  EXPECT_EQ(switched.back(), "2");
}

TEST(FanControl, AChipThatRefusesTheModeLeavesTheFanAtFullSpeed) {
  FanFixture bench;
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  bench.moving.refuse_mode(0, 5, EINVAL);
  const auto result = bench.control->set_force_bits(0);
  ASSERT_FALSE(result);
  EXPECT_NE(result.failure().message.find("pwm1_enable"), std::string::npos);
  EXPECT_EQ(bench.shown("pwm1"), 255);
  EXPECT_EQ(bench.control->force_bits(), 0);
  EXPECT_TRUE(bench.surroundings.reported("pwm1_enable"));

  bench.moving.refuse_mode(0, 5, 0);
  ASSERT_TRUE(bench.control->set_force_bits(0));
  EXPECT_EQ(bench.shown("pwm1_enable"), 5);
}

TEST(FanControl, LetsAChipHoldItsTarget) {
  std::vector<MovingFan> fans = FanFixture::two_fans();
  fans[0].target_mode = 3;
  fans[0].modes = {1, 2, 3};
  fans[0].full_reads_as_zero = false;
  FanFixture bench("f71805f", "2", fans);
  bench.new_run();
  const auto before = bench.state();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  ASSERT_TRUE(bench.control->set_target_rpm(0, 1500));
  EXPECT_EQ(bench.shown("pwm1_enable"), 3);
  EXPECT_EQ(bench.shown("fan1_target"), 1500);
  bench.pass(8);
  EXPECT_TRUE(within(bench.speed(1), 1500));
  EXPECT_TRUE(within(*bench.control->maximum_rpm(0), 2000));
  EXPECT_EQ(bench.shown("pwm1_enable"), 3);
  ASSERT_TRUE(bench.control->set_force_bits(0));
  EXPECT_EQ(bench.state(), before);
  EXPECT_EQ(bench.shown("fan1_target"), 1234);
}

TEST(FanControl, AChipThatDoesNotTakeItsTargetIsDrivenByPwm) {
  std::vector<MovingFan> fans = FanFixture::two_fans();
  fans[0].target_mode = 3;
  fans[0].modes = {1, 2, 3};
  FanFixture bench("f71805f", "2", fans);
  bench.memory.on_write(FanFixture::attribute("fan1_target"), [](std::string& text) {
    text = "27000";
    return 0;
  });
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  ASSERT_TRUE(bench.control->set_target_rpm(0, 1500));
  EXPECT_EQ(bench.shown("pwm1_enable"), 1);
  bench.pass(40);
  EXPECT_NEAR(bench.speed(1), 1500, 50);
}

TEST(FanControl, AChipThatIgnoresPwmInAutomaticModeIsMadeManualFirst) {
  std::vector<MovingFan> fans = FanFixture::two_fans();
  fans[0].in_automatic = MovingFan::InAutomatic::ignores_pwm;
  fans[0].modes = {0, 1, 2};
  FanFixture bench("thinkpad", "2", fans);
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  ASSERT_TRUE(bench.control->set_target_rpm(0, 1900));
  bench.pass(20);
  EXPECT_NEAR(bench.speed(1), 1900, 57);
}

TEST(FanControl, MeasuresAMaximumOnceWhenItIsAskedFor) {
  FanFixture bench;
  bench.new_run();
  const auto before = bench.state();
  EXPECT_TRUE(bench.control->has_maximum(0));
  EXPECT_TRUE(bench.control->maximum_is_measured_on_demand(0));
  const std::int64_t begin = bench.surroundings.now_ns;
  EXPECT_TRUE(within(*bench.control->maximum_rpm(0), 2000));
  EXPECT_LE(bench.surroundings.now_ns - begin, 11 * kNsPerS);
  EXPECT_EQ(bench.state(), before);
  EXPECT_FALSE(bench.control->maximum_is_measured_on_demand(0));
  const int writes = bench.memory.writes();
  EXPECT_TRUE(bench.control->maximum_rpm(0));
  EXPECT_EQ(bench.memory.writes(), writes);
}

TEST(FanControl, AMeasuredMaximumLeavesAForcedFanAtItsPwm) {
  FanFixture bench;
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  EXPECT_TRUE(within(*bench.control->maximum_rpm(0), 2000));
  EXPECT_EQ(bench.shown("pwm1"), 110);
  EXPECT_EQ(bench.shown("pwm1_enable"), 1);
}

TEST(FanControl, TakesARealMaximumAndMinimumFromTheChip) {
  std::vector<MovingFan> fans = FanFixture::two_fans();
  FanFixture bench("gpio_fan", "1", fans);
  bench.memory.put(FanFixture::attribute("fan1_max"), "2100", 0444);
  bench.memory.put(FanFixture::attribute("fan1_min"), "300", 0444);
  bench.new_run();
  EXPECT_DOUBLE_EQ(*bench.control->maximum_rpm(0), 2100);
  EXPECT_EQ(bench.control->minimum_rpm(0), 300);
  EXPECT_EQ(bench.control->minimum_rpm(1), std::nullopt);
}

TEST(FanControl, AlarmLimitsAreNotTheFansRange) {
  FanFixture bench;
  bench.memory.put(FanFixture::attribute("fan1_max"), "27000");
  bench.memory.put(FanFixture::attribute("fan1_min"), "0");
  bench.save_true_curve(1, kProven);
  bench.new_run();
  EXPECT_TRUE(bench.control->maximum_is_measured_on_demand(0));
  EXPECT_EQ(bench.control->minimum_rpm(0), std::nullopt);
  EXPECT_GT(bench.control->minimum_rpm(1).value_or(0), 0);
  EXPECT_NEAR(*bench.control->maximum_rpm(1), 1500, 1);
}

TEST(FanControl, OnlyTheSuperuserForces) {
  FanFixture bench;
  bench.new_run();
  bench.surroundings.user = 1000;
  const auto before = bench.memory.snapshot();
  EXPECT_EQ(bench.control->set_force_bits(1).failure().trouble, sysfs::Trouble::refused);
  EXPECT_EQ(bench.control->maximum_rpm(0).failure().trouble, sysfs::Trouble::refused);
  EXPECT_EQ(bench.memory.snapshot(), before);
  EXPECT_TRUE(bench.control->set_force_bits(0));
}

TEST(FanControl, AForcedFanIsCommandedWithoutPrivilege) {
  FanFixture bench;
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  bench.surroundings.user = 1000;
  bench.faulty.privileged = false;
  ASSERT_TRUE(bench.control->set_force_bits(1));
  ASSERT_TRUE(bench.control->set_target_rpm(0, 1800));
  EXPECT_EQ(bench.control->set_force_bits(0).failure().trouble, sysfs::Trouble::refused);
}

TEST(FanControl, RefusesFansThatAreNotThereOrNotControllable) {
  FanFixture bench("hp", "2");
  bench.new_run();
  EXPECT_EQ(bench.control->set_force_bits(4).failure().trouble, sysfs::Trouble::bad_value);
  const auto refused = bench.control->set_force_bits(1);
  EXPECT_EQ(refused.failure().trouble, sysfs::Trouble::unsupported);
  EXPECT_NE(refused.failure().message.find("fan1_input"), std::string::npos);
  EXPECT_FALSE(bench.control->has_maximum(0));
  EXPECT_EQ(bench.control->maximum_rpm(0).failure().trouble, sysfs::Trouble::unsupported);
}

TEST(FanControl, RefusesSpeedsThatAreNone) {
  FanFixture bench;
  bench.new_run();
  EXPECT_EQ(bench.control->set_target_rpm(0, -1).failure().trouble, sysfs::Trouble::bad_value);
}

TEST(FanControl, ADamagedCurveIsToldOnceAndTheFanIsForcedWithoutIt) {
  FanFixture bench;
  bench.save_true_curve(0, kProven);
  const std::string folder = bench.surroundings.surroundings.curves_folder;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    std::ofstream(file.path()) << "rubbish\n";
  }
  bench.new_run();
  EXPECT_TRUE(bench.surroundings.reports().empty());
  for (int run = 0; run < 2; ++run) {
    ASSERT_TRUE(bench.control->set_force_bits(1));
    ASSERT_TRUE(bench.control->set_force_bits(0));
  }
  ASSERT_EQ(bench.surroundings.reports().size(), 1U);
  EXPECT_TRUE(bench.surroundings.reported("--calibrate"));
}

TEST(FanControl, ATwinOfARunIsRefused) {
  FanFixture bench;
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  Ledger other(bench.surroundings.surroundings, "fans");
  FanControl twin(bench.surroundings.surroundings, other, {}, FanControl::Watching::by_caller);
  EXPECT_EQ(twin.set_force_bits(1).failure().trouble, sysfs::Trouble::held);
}

TEST(FanControl, AThreadOfItsOwnWatchesWhileAFanIsForced) {
  FanFixture bench;
  Ledger ledger(bench.surroundings.surroundings, "fans");
  FanControl control(bench.surroundings.surroundings, ledger, {{FanFixture::kTemperature, 100}});
  for (int times = 0; times < 3; ++times) {
    ASSERT_TRUE(control.set_force_bits(1));
    ASSERT_TRUE(control.set_force_bits(0));
  }
  ASSERT_TRUE(control.set_force_bits(3));
  bench.memory.put(FanFixture::kTemperature, "104000");
  while (control.force_bits() != 0) {
    std::this_thread::yield();  // ends with the test's own time-out if nobody watches
  }
  EXPECT_EQ(bench.shown("pwm1_enable"), 5);
}

std::vector<MovingFan> holding_targets(double factor) {
  std::vector<MovingFan> fans = FanFixture::two_fans();
  fans[0].target_mode = 3;
  fans[0].modes = {1, 2, 3};
  fans[0].full_reads_as_zero = false;
  fans[0].target_factor = factor;
  return fans;
}

TEST(FanControl, AChipThatMissesItsTargetIsDrivenByPwmForTheRestOfTheRun) {
  FanFixture bench("f71805f", "2", holding_targets(0.7));
  bench.save_true_curve(0, kProven);
  bench.new_run();
  const auto before = bench.state();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  ASSERT_TRUE(bench.control->set_target_rpm(0, 1500));
  bench.pass(9.5);
  EXPECT_EQ(bench.shown("pwm1_enable"), 3);
  bench.pass(8);
  EXPECT_EQ(bench.shown("pwm1_enable"), 1);
  EXPECT_TRUE(within(bench.speed(1), 1500)) << bench.speed(1);
  ASSERT_TRUE(bench.control->set_target_rpm(0, 1200));
  EXPECT_EQ(bench.shown("pwm1_enable"), 1);
  // Its own target is put back all the same, without privilege too.
  bench.surroundings.user = 1000;
  bench.faulty.privileged = false;
  bench.memory.put(FanFixture::kTemperature, "104000");
  bench.pass(0.5);
  EXPECT_EQ(bench.state(), before);
  EXPECT_EQ(bench.shown("fan1_target"), 1234);
}

TEST(FanControl, AChipThatIsNearItsTargetKeepsIt) {
  for (const double target : {1500, 9000}) {  // the second is more than the fan can do
    FanFixture bench("f71805f", "2", holding_targets(0.9));
    bench.save_true_curve(0, kProven);
    bench.new_run();
    ASSERT_TRUE(bench.control->set_force_bits(1));
    ASSERT_TRUE(bench.control->set_target_rpm(0, target));
    bench.pass(30);
    EXPECT_EQ(bench.shown("pwm1_enable"), 3) << target;
  }
}

TEST(FanControl, SaysOnceBeforeItMeasuresAMaximum) {
  FanFixture bench;
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  EXPECT_TRUE(bench.surroundings.reports().empty());
  bench.faulty.fail(1, EIO, FaultyTree::For::ever);
  EXPECT_FALSE(bench.control->maximum_rpm(0));
  bench.faulty.heal();
  const std::vector<std::string> said = {
      "measuring the maximum of nct6779 fan1, up to 10 s; vorn-keys --calibrate avoids it"};
  EXPECT_EQ(bench.surroundings.reports(), said);
  EXPECT_TRUE(bench.control->maximum_rpm(0));
  EXPECT_EQ(bench.surroundings.reports(), said);
  EXPECT_TRUE(bench.control->maximum_rpm(1));
  EXPECT_EQ(bench.surroundings.reports().size(), 2U);
}

TEST(FanControl, AMeasurementEndsAsSoonAsTheSpeedIsSteady) {
  FanFixture bench;
  bench.new_run();
  const std::int64_t begin = bench.surroundings.now_ns;
  EXPECT_TRUE(within(*bench.control->maximum_rpm(0), 2000));
  EXPECT_LE(bench.surroundings.now_ns - begin, 6 * kNsPerS);
}

TEST(FanControl, ASpeedAsTargetIsOneReadOnceItIsOpen) {
  FanFixture bench;
  bench.new_run();
  ASSERT_TRUE(bench.control->target_rpm(0));
  bench.faulty.fail(0, 0, FaultyTree::For::once);
  ASSERT_TRUE(bench.control->target_rpm(0));
  EXPECT_EQ(bench.faulty.accesses(), 1);
}

TEST(FanControl, ForcingWithoutAnyTemperatureIsSaidOnce) {
  FanFixture bench;
  Ledger ledger(bench.surroundings.surroundings, "fans");
  FanControl control(bench.surroundings.surroundings, ledger, {}, FanControl::Watching::by_caller);
  for (int times = 0; times < 2; ++times) {
    ASSERT_TRUE(control.set_force_bits(1));
    ASSERT_TRUE(control.set_force_bits(0));
  }
  EXPECT_EQ(bench.surroundings.reports(),
            std::vector<std::string>{
                "fans are forced, and no temperature of the processor is watched: none was found"});
}

TEST(FanControl, AChipWithFewSpeedsIsNotDrivenToAndFroForEver) {
  std::vector<MovingFan> fans = FanFixture::two_fans();
  fans[0].pwm_step = 85;
  for (const double target : {1100, 1500, 1600}) {  // it can do 786, 1418 and 2000
    FanFixture bench("nct6779", "5", fans);
    bench.save_true_curve(0, Curve::Stop::unproven);
    bench.new_run();
    ASSERT_TRUE(bench.control->set_force_bits(1));
    ASSERT_TRUE(bench.control->set_target_rpm(0, target));
    bench.pass(60);
    std::set<long long> given;
    for (int second = 0; second < 60; ++second) {
      bench.pass(1);
      given.insert(bench.shown("pwm1"));
    }
    EXPECT_EQ(given.size(), 1U) << target;
  }
}

}  // namespace
}  // namespace linux_machine
