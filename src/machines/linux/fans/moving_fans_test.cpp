#include "support/machine/moving_fans.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>

#include "machines/linux/sysfs/attribute.h"
#include "support/machine/machine_file.h"
#include "support/machine/test_surroundings.h"

namespace {

constexpr const char* kMachine =
    "0444 x/fan1_input = 0\n"
    "0644 x/pwm1 = 100\n"
    "0644 x/pwm1_enable = 2\n";

MovingFan fan() {
  MovingFan one;
  one.folder = "x";
  return one;
}

class MovingFansTest : public testing::Test {
 protected:
  MovingFansTest() { build_machine(kMachine + MovingFans::state_files({fan()}), folder()); }

  const std::string& folder() const { return surroundings_.folder(); }
  long long read(const std::string& name) { return *sysfs::read_integer(fans_, "x/" + name); }
  int write(const std::string& name, long long value) {
    const auto written = sysfs::write_integer(fans_, "x/" + name, value);
    return written ? 0 : written.failure().error;
  }
  void pass(double seconds) { now_ns_ += std::llround(seconds * 1e9); }

  MemoryTree unused_;
  TestSurroundings surroundings_{unused_};
  sysfs::Folder files_{folder()};
  std::int64_t now_ns_ = 5'000'000'000;
  MovingFans fans_{files_, {fan()}, [this] { return now_ns_; }};
};

TEST_F(MovingFansTest, TurnAsTheChipWantsInAutomaticMode) {
  EXPECT_EQ(read("pwm1"), fan().automatic_pwm);
  EXPECT_EQ(read("fan1_input"), std::llround(fan().steady_rpm(fan().automatic_pwm)));
}

TEST_F(MovingFansTest, FollowTheirPwmWithALag) {
  const double before = fan().steady_rpm(fan().automatic_pwm);
  ASSERT_EQ(write("pwm1_enable", 1), 0);
  ASSERT_EQ(write("pwm1", 255), 0);
  pass(1);
  EXPECT_NEAR(static_cast<double>(read("fan1_input")), 2000 + (before - 2000) * std::exp(-1), 1);
  pass(20);
  EXPECT_EQ(read("fan1_input"), 2000);
}

TEST_F(MovingFansTest, AreOneMachineForAllWhoShareItsFiles) {
  ASSERT_EQ(write("pwm1_enable", 1), 0);
  ASSERT_EQ(write("pwm1", 7), 0);
  sysfs::Folder same_files(folder());
  MovingFans other(same_files, {fan()}, [this] { return now_ns_; });
  pass(0.7);
  EXPECT_EQ(*sysfs::read_integer(other, "x/fan1_input"), read("fan1_input"));
  EXPECT_EQ(*sysfs::read_integer(other, "x/pwm1"), 7);
  EXPECT_EQ(*sysfs::read_integer(other, "x/pwm1_enable"), 1);
}

TEST_F(MovingFansTest, StopAndStartAtDifferentPwms) {
  ASSERT_EQ(write("pwm1_enable", 1), 0);
  ASSERT_EQ(write("pwm1", 40), 0);
  pass(20);
  EXPECT_GT(read("fan1_input"), 0);
  ASSERT_EQ(write("pwm1", 29), 0);
  pass(20);
  EXPECT_EQ(read("fan1_input"), 0);
  ASSERT_EQ(write("pwm1", 40), 0);
  pass(20);
  EXPECT_EQ(read("fan1_input"), 0);
  ASSERT_EQ(write("pwm1", 50), 0);
  pass(20);
  EXPECT_GT(read("fan1_input"), 0);
}

TEST_F(MovingFansTest, ChipsRefuseWhatRealOnesRefuse) {
  EXPECT_EQ(write("pwm1", 100), EBUSY);
  EXPECT_EQ(write("pwm1_enable", 9), EINVAL);
  ASSERT_EQ(write("pwm1_enable", 1), 0);
  EXPECT_EQ(write("pwm1", 256), EINVAL);
  ASSERT_EQ(write("pwm1", 255), 0);
  EXPECT_EQ(read("pwm1_enable"), 0);
}

}  // namespace
