#include "machines/linux/watch/safety.h"

#include <gtest/gtest.h>

#include <string>

namespace linux_machine {
namespace {

constexpr Reading says(double value) {
  return {.attribute = "x/input", .value = value, .failure = {}};
}

constexpr Reading kFailed = {
    .attribute = "x/input", .value = {}, .failure = "reading x/input: Input/output error"};

/// What the temperature's round comes to; "" if all is well.
std::string round(TemperatureSafety& safety, const Reading& reading,
                  std::string_view cooling = {}) {
  LineText why;
  return safety.alarmed(reading, 100, cooling, why) ? std::string(why.view()) : "";
}

std::string round(FanSafety& safety, const Reading& reading, bool should_turn = true) {
  LineText why;
  return safety.alarmed(reading, should_turn, why) ? std::string(why.view()) : "";
}

TEST(Safety, AProcessorMayRunAtItsLimitAsLongAsItHoldsIt) {
  TemperatureSafety safety;
  for (const double celsius : {94.9, 95.0, 100.0, 102.9}) {
    EXPECT_EQ(round(safety, says(celsius)), "");
  }
  EXPECT_EQ(round(safety, says(103)), "x/input reads 103 degrees, and 100 degrees are critical");
  EXPECT_NE(round(safety, says(120)), "");
}

TEST(Safety, WithLessCoolingTripsFiveDegreesBelowCritical) {
  TemperatureSafety safety;
  EXPECT_EQ(round(safety, says(94.9), "fan stands still"), "");
  EXPECT_EQ(round(safety, says(95), "fan stands still"),
            "x/input reads 95 degrees, 100 degrees are critical, and fan stands still");
}

TEST(Safety, TripsWhenAFanThatShouldTurnReadsZeroTwice) {
  FanSafety safety;
  EXPECT_EQ(round(safety, says(0)), "");
  EXPECT_EQ(round(safety, says(300)), "");
  EXPECT_EQ(round(safety, says(0)), "");
  EXPECT_EQ(round(safety, says(0)), "x/input reads 0 RPM, and the fan should turn");
}

TEST(Safety, AFanThatNeedNotTurnMayStand) {
  FanSafety safety;
  for (int times = 0; times < 5; ++times) {
    EXPECT_EQ(round(safety, says(0), false), "");
  }
  EXPECT_EQ(round(safety, says(0)), "");
}

/// Fails twice, answers, and fails three times.
template <class Safety>
void expect_to_trip_at_the_third_failure_in_a_row(Safety safety) {
  EXPECT_EQ(round(safety, kFailed), "");
  EXPECT_EQ(round(safety, kFailed), "");
  EXPECT_EQ(round(safety, says(50)), "");
  EXPECT_EQ(round(safety, kFailed), "");
  EXPECT_EQ(round(safety, kFailed), "");
  EXPECT_EQ(round(safety, kFailed), "reading x/input: Input/output error, 3 times in a row");
}

TEST(Safety, TripsAfterThreeFailedReadsInARow) {
  expect_to_trip_at_the_third_failure_in_a_row(TemperatureSafety());
  expect_to_trip_at_the_third_failure_in_a_row(FanSafety());
}

TEST(Safety, WhatNoProcessorCanBeIsNoTemperature) {
  EXPECT_TRUE(is_processors_temperature(55));
  for (const double celsius : {-44.0, 0.0, 127.0, 255.0}) {
    EXPECT_FALSE(is_processors_temperature(celsius)) << celsius;
  }
}

}  // namespace
}  // namespace linux_machine
