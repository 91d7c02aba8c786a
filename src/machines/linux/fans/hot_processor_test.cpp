#include <gtest/gtest.h>

#include <algorithm>

#include "support/machine/fan_fixture.h"

// Forced fans over a processor that is made to run at its limit, 100 degrees here, and holds it by
// doing less.

namespace linux_machine {
namespace {

constexpr double kLimitC = 100;

class HotProcessor : public testing::Test {
 protected:
  void SetUp() override {
    bench_.save_true_curve(0, Curve::Stop::stops_and_starts);
    bench_.save_true_curve(1, Curve::Stop::stops_and_starts);
    bench_.new_run();
  }

  /// Lets half a second pass at a time. Less air lets it become hotter, within about five seconds.
  void pass(double seconds) {
    for (double second = 0; second < seconds; second += 0.5) {
      const double air = std::max(bench_.speed(1) + bench_.speed(2), 100.0);
      const double heads_for = 30 + power_w_ * 900 / air;
      celsius_ += (heads_for - celsius_) * 0.1;
      celsius_ = holds_limit_ ? std::min(celsius_, kLimitC) : celsius_;
      bench_.memory.put(FanFixture::kTemperature,
                        std::to_string(static_cast<int>(celsius_ * 1000)));
      bench_.pass(0.5);
      hottest_ = bench_.control->force_bits() != 0 ? celsius_ : hottest_;
    }
  }
  void force(double rpm) {
    ASSERT_TRUE(bench_.control->set_force_bits(3));
    ASSERT_TRUE(bench_.control->set_target_rpm(0, rpm));
    ASSERT_TRUE(bench_.control->set_target_rpm(1, rpm));
  }

  FanFixture bench_;
  double power_w_ = 30;
  double celsius_ = 45;
  bool holds_limit_ = true;
  double hottest_ = 0;  ///< while fans were forced
};

TEST_F(HotProcessor, RunsAtItsLimitWithFansAsFastAsTheyWereFound) {
  pass(10);
  force(1000);  // automatic control let them turn at 860 and 650
  power_w_ = 300;
  pass(60);
  EXPECT_DOUBLE_EQ(celsius_, kLimitC);
  EXPECT_EQ(bench_.control->force_bits(), 3);
  EXPECT_TRUE(bench_.surroundings.reports().empty());
}

TEST_F(HotProcessor, IsForcedOverThoughItIsAtItsLimitAlready) {
  power_w_ = 300;
  pass(60);
  ASSERT_DOUBLE_EQ(celsius_, kLimitC);
  force(1200);
  pass(60);
  EXPECT_EQ(bench_.control->force_bits(), 3);
}

TEST_F(HotProcessor, GetsItsFansBackBeforeItsLimitIfTheyAreSetTooLow) {
  pass(10);
  const auto before = bench_.state();
  force(400);
  pass(10);
  EXPECT_EQ(bench_.control->force_bits(), 3) << "it is cool yet";
  power_w_ = 150;
  pass(30);
  EXPECT_EQ(bench_.control->force_bits(), 0);
  EXPECT_LT(hottest_, kLimitC);
  EXPECT_EQ(bench_.state(), before);
  EXPECT_TRUE(bench_.surroundings.reported(" turns slower than it was found"));
}

TEST_F(HotProcessor, GetsItsFansBackWhenItDoesNotHoldItsLimit) {
  pass(10);
  force(1000);
  power_w_ = 300;
  holds_limit_ = false;
  pass(60);
  EXPECT_EQ(bench_.control->force_bits(), 0);
  EXPECT_LT(hottest_, kLimitC + 3);
  EXPECT_TRUE(bench_.surroundings.reported(" degrees, and 100 degrees are critical"));
}

}  // namespace
}  // namespace linux_machine
