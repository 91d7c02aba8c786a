#include "machines/linux/fans/safety.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace linux_machine {
namespace {

class SafetyTest : public testing::Test {
 protected:
  std::optional<std::string> temperature(sysfs::Result<double> celsius) {
    const std::vector<TemperatureReading> readings = {{watched_, std::move(celsius)}};
    return safety_.judge(readings, {});
  }
  std::optional<std::string> fan(sysfs::Result<double> rpm, bool should_turn = true) {
    const std::vector<FanReading> readings = {{"x/fan1_input", std::move(rpm), should_turn}};
    return safety_.judge({}, readings);
  }
  static sysfs::Failure failed() { return sysfs::failure("reading", "x/it", EIO); }

  const WatchedTemperature watched_{"x/temp1_input", 100};
  Safety safety_;
};

TEST_F(SafetyTest, TripsFiveDegreesBelowCritical) {
  EXPECT_EQ(temperature(94.9), std::nullopt);
  EXPECT_EQ(temperature(95.0), "x/temp1_input reads 95 degrees, and 100 degrees are critical");
  EXPECT_NE(temperature(120.0), std::nullopt);
}

TEST_F(SafetyTest, TripsWhenAFanThatShouldTurnReadsZeroTwice) {
  EXPECT_EQ(fan(0.0), std::nullopt);
  EXPECT_EQ(fan(300.0), std::nullopt);
  EXPECT_EQ(fan(0.0), std::nullopt);
  EXPECT_EQ(fan(0.0), "x/fan1_input reads 0 RPM, and the fan should turn");
}

TEST_F(SafetyTest, AFanThatNeedNotTurnMayStand) {
  for (int round = 0; round < 5; ++round) {
    EXPECT_EQ(fan(0.0, false), std::nullopt);
  }
  EXPECT_EQ(fan(0.0), std::nullopt);
}

TEST_F(SafetyTest, TripsAfterThreeFailedReadsInARow) {
  for (const bool of_fan : {true, false}) {
    const auto read = [&](sysfs::Result<double> result) {
      return of_fan ? fan(std::move(result)) : temperature(std::move(result));
    };
    safety_.begin_anew();
    EXPECT_EQ(read(failed()), std::nullopt);
    EXPECT_EQ(read(failed()), std::nullopt);
    EXPECT_EQ(read(50.0), std::nullopt);
    EXPECT_EQ(read(failed()), std::nullopt);
    EXPECT_EQ(read(failed()), std::nullopt);
    EXPECT_EQ(read(failed()), "reading x/it: Input/output error, 3 times in a row");
  }
}

TEST_F(SafetyTest, WhatNoProcessorCanBeIsAFailedRead) {
  EXPECT_DOUBLE_EQ(*celsius_said("t", 55'000), 55);
  for (const long long value : {-44'000LL, 0LL, 127'000LL, 255'000LL}) {
    EXPECT_EQ(celsius_said("t", value).failure().trouble, sysfs::Trouble::nonsense) << value;
  }
}

TEST_F(SafetyTest, ATemperatureThatCannotBeOpenedIsNamed) {
  Thermometers thermometers({watched_});
  class : public sysfs::Tree {
    int open(const char*, sysfs::Mode) override { return -EACCES; }
    ssize_t read(int, std::span<char>) override { return -EIO; }
    ssize_t write(int, std::string_view) override { return -EIO; }
    void close(int) override {}
    int list(const char*, std::vector<std::string>&) override { return -EIO; }
    std::string real_path(const char*) override { return {}; }
  } closed;
  EXPECT_EQ(thermometers.open(closed).failure().message,
            "opening x/temp1_input: Permission denied");
}

}  // namespace
}  // namespace linux_machine
