#include "machines/linux/watch/fan_watch.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>

#include "support/machine/faulty_tree.h"
#include "support/machine/memory_tree.h"

namespace linux_machine {
namespace {

constexpr const char* kTree =
    "0444 t1 = 50000\n"
    "0444 t2 = 51000\n"
    "0444 fan = 900\n";

class FanWatchTest : public testing::Test {
 protected:
  /// A round at this second; "" if all is well.
  std::string round(double second = 10) {
    LineText why;
    const auto now_ns = static_cast<std::int64_t>(second * 1e9);
    return watch_->alarmed(now_ns, why) ? std::string(why.view()) : "";
  }

  MemoryTree tree_{std::string(kTree)};
  FaultyTree counted_{tree_};
  std::unique_ptr<FanWatch> watch_ = std::make_unique<FanWatch>(counted_);
};

TEST_F(FanWatchTest, SeesEveryTemperatureWhileAFanIsWatched) {
  ASSERT_TRUE(watch_->watch_temperature("t1", 100));
  ASSERT_TRUE(watch_->watch_temperature("t2", 90));
  tree_.put("t2", "93000");
  EXPECT_EQ(round(), "") << "no fan is forced";
  ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, kMayStand));
  EXPECT_EQ(round(), "t2 reads 93 degrees, and 90 degrees are critical");
  watch_->forget_fan("fan");
  EXPECT_EQ(round(), "");
}

TEST_F(FanWatchTest, AFanThatIsSlowerThanItWasFoundCoolsLess) {
  ASSERT_TRUE(watch_->watch_temperature("t1", 100));
  ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, kMayStand));
  tree_.put("t1", "96000");
  for (const char* rpm : {"900", "2000", "815", "-2"}) {
    tree_.put("fan", rpm);
    EXPECT_EQ(round(), "") << rpm;
  }
  tree_.put("fan", "805");
  EXPECT_EQ(
      round(),
      "t1 reads 96 degrees, 100 degrees are critical, and fan turns slower than it was found");
  tree_.put("fan", "0");
  EXPECT_EQ(round(), "t1 reads 96 degrees, 100 degrees are critical, and fan stands still");
  tree_.put("t1", "94000");
  EXPECT_EQ(round(), "");
}

TEST_F(FanWatchTest, WhatAFanWasFoundAtIsForgottenWithIt) {
  ASSERT_TRUE(watch_->watch_temperature("t1", 100));
  ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, kMayStand));
  watch_->forget_fan("fan");
  tree_.put("t1", "96000");
  tree_.put("fan", "500");
  ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, kMayStand));
  EXPECT_EQ(round(), "");
}

TEST_F(FanWatchTest, AFanHasToTurnFromItsMomentOn) {
  ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, 11'000'000'000));
  tree_.put("fan", "0");
  for (const double second : {9.0, 10.0, 10.9, 11.1}) {
    EXPECT_EQ(round(second), "");
  }
  EXPECT_EQ(round(11.4), "fan reads 0 RPM, and the fan should turn");
}

TEST_F(FanWatchTest, AnErrorOfTheKernelsOwnIsNamedByItsNumber) {
  constexpr int kNotSupported = 524;
  ASSERT_TRUE(watch_->watch_temperature("t1", 100));
  ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, kMayStand));
  tree_.fail("t1", kNotSupported);
  EXPECT_EQ(round(), "");
  EXPECT_EQ(round(), "");
  EXPECT_EQ(round(), "reading t1: Unknown error 524, 3 times in a row");
}

TEST_F(FanWatchTest, WhatCannotBeReadIsNamed) {
  ASSERT_TRUE(watch_->watch_temperature("t1", 100));
  ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, kMayStand));
  const auto third_round_of = [&](const char* attribute, const std::string& text, int error) {
    tree_.put(attribute, text);
    tree_.fail(attribute, error);
    EXPECT_EQ(round(), "");
    EXPECT_EQ(round(), "");
    return round();
  };
  EXPECT_EQ(third_round_of("t1", "1", EIO), "reading t1: Input/output error, 3 times in a row");
  tree_.fail("t1", 0);
  tree_.put("t1", "50000");
  EXPECT_EQ(round(), "");
  EXPECT_EQ(third_round_of("t1", "-44000", 0),
            "reading t1: -44 degrees is no processor's temperature, 3 times in a row");
  tree_.put("t1", "50000");
  EXPECT_EQ(third_round_of("fan", "", 0), "reading fan: it is empty, 3 times in a row");
}

TEST_F(FanWatchTest, WhatCannotBeOpenedCannotBeRead) {
  ASSERT_TRUE(watch_->watch_temperature("nothing", 100));
  ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, kMayStand));
  round();
  round();
  EXPECT_EQ(round(), "opening nothing: No such file or directory, 3 times in a row");
}

TEST_F(FanWatchTest, ASlowChipIsReadEachTwoSeconds) {
  ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::seldom, kMayStand));
  const int before = counted_.accesses();
  for (int quarter = 0; quarter < 40; ++quarter) {
    EXPECT_EQ(round(10 + quarter / 4.0), "");
  }
  EXPECT_EQ(counted_.accesses() - before, 5);
}

TEST_F(FanWatchTest, OpensOnceAndLetsGo) {
  for (int times = 0; times < 100; ++times) {
    ASSERT_TRUE(watch_->watch_temperature("t1", 100));
    ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, kMayStand));
    ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, 1));
    EXPECT_EQ(tree_.open_handles(), 2);
    watch_->forget_fan("fan");
  }
  EXPECT_EQ(tree_.open_handles(), 1);
}

TEST_F(FanWatchTest, HasRoomForTheCoresOfALargeMachineAndSaysWhenItIsFull) {
  for (std::size_t n = 0; n < FanWatch::kMostTemperatures; ++n) {
    ASSERT_TRUE(watch_->watch_temperature("t" + std::to_string(n), 100));
  }
  EXPECT_FALSE(watch_->watch_temperature("another", 100));
  EXPECT_TRUE(watch_->watch_temperature("t1", 100)) << "which it watches already";
  EXPECT_FALSE(watch_->watch_fan(std::string(FanWatch::kLongestPath + 1, 'x'),
                                 FanWatch::Reads::each_round, kMayStand));
}

TEST_F(FanWatchTest, CountsAnewForAFanThatIsWatchedAgain) {
  tree_.fail("fan", EIO);
  for (int times = 0; times < 3; ++times) {
    ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, 0));
    EXPECT_EQ(round(), "");
    EXPECT_EQ(round(), "");
    watch_->forget_fan("fan");
  }
  tree_.fail("fan", 0);
  tree_.put("fan", "0");
  for (int times = 0; times < 3; ++times) {
    ASSERT_TRUE(watch_->watch_fan("fan", FanWatch::Reads::each_round, 0));
    EXPECT_EQ(round(), "");
    watch_->forget_fan("fan");
  }
}

}  // namespace
}  // namespace linux_machine
