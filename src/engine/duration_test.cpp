#include "engine/duration.h"

#include <gtest/gtest.h>

namespace engine {
namespace {

std::int64_t length_of(const char* text) {
  const auto parsed = parse_duration(text);
  EXPECT_TRUE(parsed.value) << text << ": " << parsed.refused;
  return parsed.value.value_or(-1);
}

std::string refusal_of_duration(const char* text) {
  const auto parsed = parse_duration(text);
  EXPECT_FALSE(parsed.value) << text;
  return parsed.refused;
}

TEST(Duration, ANumberAloneIsInSeconds) {
  EXPECT_EQ(length_of("90"), 90000000000);
  EXPECT_EQ(length_of("0.25"), 250000000);
}

TEST(Duration, TakesUnits) {
  EXPECT_EQ(length_of("90s"), 90000000000);
  EXPECT_EQ(length_of("1.5h"), 5400000000000);
  EXPECT_EQ(length_of("2m"), 120000000000);
  EXPECT_EQ(length_of("500ms"), 500000000);
  EXPECT_EQ(length_of("0.001ms"), 1000);
  EXPECT_EQ(length_of("250us"), 250000);
}

TEST(Duration, IsExactToTheNanosecondOverWeeks) {
  EXPECT_EQ(length_of("2147483646.999999999"), 2147483646999999999);
}

TEST(Duration, WhatNoTimerTakesIsRefused) {
  EXPECT_EQ(refusal_of_duration("0"), "it is shorter than 1 us");
  EXPECT_EQ(refusal_of_duration("0.0000001"), "it is shorter than 1 us");
  EXPECT_EQ(refusal_of_duration("2147483648"), "it is longer than 2147483647 s");
  EXPECT_EQ(refusal_of_duration("600000h"), "it is longer than 2147483647 s");
}

TEST(Duration, WhatIsNoDurationIsRefusedForItsReason) {
  EXPECT_EQ(refusal_of_duration(""), "a number is missing");
  EXPECT_EQ(refusal_of_duration("s"), "a number is missing");
  EXPECT_EQ(refusal_of_duration("-1s"), "a number is missing");
  EXPECT_EQ(refusal_of_duration("1.s"), "no digit stands behind the point");
  EXPECT_EQ(refusal_of_duration("1.0000000000"), "more than nine digits stand behind the point");
  EXPECT_EQ(refusal_of_duration("99999999999"), "the number is too large");
  EXPECT_EQ(refusal_of_duration("1d"), "\"d\" is no unit of time");
  EXPECT_EQ(refusal_of_duration("1 h"), "\" h\" is no unit of time");
  EXPECT_EQ(refusal_of_duration("1h30m"), "\"h30m\" is no unit of time");
}

}  // namespace
}  // namespace engine
