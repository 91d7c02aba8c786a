#include "machines/linux/sysfs/parse.h"

#include <gtest/gtest.h>

namespace sysfs {
namespace {

TEST(Parse, ANumberMayEndInANewline) {
  EXPECT_EQ(parse_integer("55000\n"), 55000);
  EXPECT_EQ(parse_integer("-44000"), -44000);
  EXPECT_EQ(parse_integer("262143328850\n"), 262143328850);
}

TEST(Parse, WhatIsNotAWholeNumberIsNone) {
  for (const char* text : {"", "\n", "12 13", "1.5", "0x10", "on", "99999999999999999999", " 1"}) {
    EXPECT_EQ(parse_integer(text), std::nullopt) << text;
  }
}

TEST(Parse, WordsStandBetweenBlanks) {
  EXPECT_EQ(parse_words("2300000 1800000  1200000 \n"),
            (std::vector<std::string_view>{"2300000", "1800000", "1200000"}));
  EXPECT_TRUE(parse_words(" \n").empty());
}

TEST(Parse, AChannelIsTheNumberInAName) {
  EXPECT_EQ(channel_of("fan2_input", "fan", "_input"), 2);
  EXPECT_EQ(channel_of("pwm10", "pwm", ""), 10);
  for (const char* name : {"fan_input", "fan2_min", "fan2x_input", "pwm2_enable", "fan-1_input"}) {
    EXPECT_EQ(channel_of(name, "fan", "_input"), std::nullopt) << name;
  }
  EXPECT_EQ(channel_of("pwm1_enable", "pwm", ""), std::nullopt);
}

}  // namespace
}  // namespace sysfs
