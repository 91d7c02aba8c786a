#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "machines/linux/fans/daemons.h"
#include "support/machine/fan_fixture.h"

namespace linux_machine {
namespace {

class WatchingTest : public testing::Test {
 protected:
  WatchingTest() {
    bench_.new_run();
    before_ = bench_.state();
  }

  void force() {
    ASSERT_TRUE(bench_.control->set_force_bits(3));
    ASSERT_TRUE(bench_.control->set_target_rpm(0, 1500));
    bench_.pass(6);
    ASSERT_EQ(bench_.control->force_bits(), 3);
  }

  void expect_tripped(const std::string& reason) {
    EXPECT_EQ(bench_.control->force_bits(), 0);
    EXPECT_EQ(bench_.state(), before_);
    bench_.pass(10);
    ASSERT_EQ(bench_.surroundings.reports().size(), 1U);
    EXPECT_EQ(bench_.surroundings.reports()[0], "the fans are given back: " + reason);
    const auto again = bench_.control->set_force_bits(1);
    ASSERT_FALSE(again);
    EXPECT_EQ(again.failure().error, ECANCELED);
    EXPECT_NE(again.failure().message.find(reason), std::string::npos);
  }

  FanFixture bench_;
  std::map<std::string, std::string> before_;
};

TEST_F(WatchingTest, GivesTheFansBackNearTheCriticalTemperature) {
  force();
  bench_.memory.put(FanFixture::kTemperature, "94900");
  bench_.pass(2);
  EXPECT_EQ(bench_.control->force_bits(), 3);
  bench_.memory.put(FanFixture::kTemperature, "95000");
  bench_.pass(0.5);
  expect_tripped("devices/cpu/temp1_input reads 95 degrees, and 100 degrees are critical");
}

TEST_F(WatchingTest, GivesTheFansBackWhenOneStands) {
  force();
  bench_.moving.block(0, true);
  bench_.pass(8);
  expect_tripped(FanFixture::attribute("fan1_input") + " reads 0 RPM, and the fan should turn");
}

TEST_F(WatchingTest, GivesTheFansBackAfterThreeFailedReads) {
  force();
  bench_.memory.fail(FanFixture::kTemperature, EIO);
  bench_.pass(1);
  EXPECT_EQ(bench_.control->force_bits(), 3);
  bench_.pass(0.5);
  expect_tripped("reading devices/cpu/temp1_input: Input/output error, 3 times in a row");
}

TEST_F(WatchingTest, ASpeedThatCannotBeReadCounts) {
  force();
  bench_.memory.fail(FanFixture::attribute("fan2_input"), ENODATA);
  bench_.pass(1.5);
  expect_tripped("reading " + FanFixture::attribute("fan2_input") +
                 ": No data available, 3 times in a row");
}

TEST_F(WatchingTest, ActsWithoutPrivilegeThroughWhatIsOpen) {
  force();
  bench_.surroundings.user = 1000;
  bench_.faulty.privileged = false;
  bench_.memory.put(FanFixture::kTemperature, "99000");
  bench_.pass(0.5);
  bench_.faulty.privileged = true;
  EXPECT_EQ(bench_.state(), before_);
  EXPECT_EQ(bench_.surroundings.reports().size(), 1U);
  // With the privilege back, nothing is owed to the ledger any more.
  bench_.surroundings.user = 0;
  EXPECT_TRUE(bench_.control->set_force_bits(0));
  EXPECT_EQ(bench_.state(), before_);
}

TEST_F(WatchingTest, TripsInTheMiddleOfAMeasurement) {
  ASSERT_TRUE(bench_.control->set_force_bits(3));
  bench_.memory.put(FanFixture::kTemperature, "99000");
  EXPECT_EQ(bench_.control->maximum_rpm(0).failure().error, ECANCELED);
  expect_tripped("devices/cpu/temp1_input reads 99 degrees, and 100 degrees are critical");
}

TEST_F(WatchingTest, TripsWhileATargetNeedsAMeasurement) {
  ASSERT_TRUE(bench_.control->set_force_bits(3));
  bench_.memory.put(FanFixture::kTemperature, "99000");
  EXPECT_EQ(bench_.control->set_target_rpm(0, 1000).failure().error, ECANCELED);
  expect_tripped("devices/cpu/temp1_input reads 99 degrees, and 100 degrees are critical");
}

TEST_F(WatchingTest, AFanFoundAtRestMayStay) {
  bench_.moving.block(1, true);
  bench_.surroundings.now_ns += 20 * kNsPerS;
  ASSERT_TRUE(bench_.control->set_force_bits(2));
  bench_.pass(20);
  EXPECT_EQ(bench_.control->force_bits(), 2);
}

TEST(Watching, AFanHasFourSecondsToStart) {
  for (const double blocked_s : {3.5, 5.0}) {
    FanFixture bench;
    bench.save_true_curve(0, Curve::Stop::stops_and_starts);
    bench.new_run();
    ASSERT_TRUE(bench.control->set_force_bits(1));
    ASSERT_TRUE(bench.control->set_target_rpm(0, 0));
    bench.pass(10);
    bench.moving.block(0, true);
    ASSERT_TRUE(bench.control->set_target_rpm(0, 1500));
    bench.pass(blocked_s);
    bench.moving.block(0, false);
    bench.pass(5);
    EXPECT_EQ(bench.control->force_bits(), blocked_s < 4 ? 1 : 0) << blocked_s;
  }
}

TEST_F(WatchingTest, BringsAFanBackToItsTarget) {
  force();
  ASSERT_TRUE(sysfs::write_text(bench_.moving, FanFixture::attribute("pwm1"), "120"));
  bench_.pass(60);
  EXPECT_NEAR(bench_.speed(1), 1500, 50);
}

TEST(Daemons, AreFoundByTheNameOfTheirProcess) {
  for (const char* name : {"fancontrol", "fan2go", "thinkfan", "coolercontrold"}) {
    FanFixture bench;
    const std::string proc = bench.surroundings.folder() + "/proc";
    for (const auto& [process, comm] :
         std::map<std::string, std::string>{{"1", "init"}, {"814", name}, {"self", "thinkfan"}}) {
      std::filesystem::create_directories(proc + "/" + process);
      std::ofstream(proc + "/" + process + "/comm") << comm << "\n";
    }
    sysfs::Folder tree(proc);
    EXPECT_EQ(running_fan_daemon(tree), name);

    const Surroundings& own = bench.surroundings.surroundings;
    Surroundings beside{own.sys,    tree,          own.curves_folder,  own.state_folder, false,
                        own.now_ns, own.sleep_for, own.effective_user, own.report};
    Ledger ledger(beside, "fans");
    FanControl control(beside, ledger, {}, FanControl::Watching::by_caller);
    const auto before = bench.state();
    const auto refused = control.set_force_bits(1);
    EXPECT_EQ(refused.failure().error, EBUSY);
    EXPECT_NE(refused.failure().message.find(std::string("systemctl stop ") + name),
              std::string::npos);
    EXPECT_EQ(control.maximum_rpm(0).failure().error, EBUSY);
    EXPECT_EQ(bench.state(), before);

    std::filesystem::remove_all(proc + "/814");
    EXPECT_EQ(running_fan_daemon(tree), std::nullopt);
  }
}

}  // namespace
}  // namespace linux_machine
