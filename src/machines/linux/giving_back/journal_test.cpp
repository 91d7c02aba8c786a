#include "machines/linux/giving_back/journal.h"

#include <gtest/gtest.h>

namespace linux_machine {
namespace {

TEST(Journal, ALineIsReadAsItWasWritten) {
  SetLine set;
  const std::string preference = set_line("a/energy_performance_preference", "balance power");
  ASSERT_TRUE(parse_set_line(preference, set));
  EXPECT_EQ(set.attribute, "a/energy_performance_preference");
  EXPECT_EQ(set.value, "balance power");
  EXPECT_EQ(set.forced, "");
  const std::string limit = set_line("a/max", "3000", "1200");
  EXPECT_EQ(limit, "set a/max 3000 forced=1200");
  ASSERT_TRUE(parse_set_line(limit, set));
  EXPECT_EQ(set.value, "3000");
  EXPECT_EQ(set.forced, "1200");

  FanState state;
  state.folder = "devices/platform/nct6775.656/hwmon/hwmon3";
  state.channel = 2;
  state.chip = "nct6779";
  state.pwm = 153;
  state.enable = 5;
  state.zero_is_full_speed = true;
  const std::string line = fan_line(state);
  EXPECT_EQ(line,
            "fan devices/platform/nct6775.656/hwmon/hwmon3 2 nct6779 target=- pwm=153 enable=5 "
            "zero=full");
  FanLine fan;
  ASSERT_TRUE(parse_fan_line(line, fan));
  EXPECT_EQ(fan.folder, state.folder);
  EXPECT_EQ(fan.channel, "2");
  EXPECT_EQ(fan.chip, "nct6779");
  EXPECT_EQ(fan.target, kNotThere);
  EXPECT_EQ(fan.pwm, "153");
  EXPECT_EQ(fan.enable, "5");
  EXPECT_EQ(fan.zero, kZeroIsFull);
  EXPECT_EQ(fan.forced, "");

  state.forced_modes = {1, 4};
  const std::string forced = fan_line(state);
  EXPECT_EQ(forced, line + " forced=1,4");
  ASSERT_TRUE(parse_fan_line(forced, fan));
  EXPECT_EQ(fan.zero, kZeroIsFull);
  EXPECT_EQ(fan.forced, "1,4");
}

TEST(Journal, AModeThatCannotBeReadIsMarked) {
  FanState state;
  state.folder = "f";
  state.chip = "dell_smm";
  state.channel = 1;
  state.enable_unreadable = true;
  EXPECT_EQ(fan_line(state), "fan f 1 dell_smm target=- pwm=- enable=? zero=off");
}

TEST(Journal, OtherLinesAreNone) {
  SetLine set;
  FanLine fan;
  for (const char* line : {"", "set", "set a", "set a ", "fan a 1", "settle a b",
                           "fan f 1 chip pwm=1 target=1 enable=1 zero=off",
                           "fan f 1 chip target=1 pwm=1 enable=1", "fan f 1 chip target= pwm=1"}) {
    EXPECT_FALSE(parse_set_line(line, set)) << line;
    EXPECT_FALSE(parse_fan_line(line, fan)) << line;
  }
}

TEST(Journal, ALineThatWasCutOffIsLeftOut) {
  std::string_view journal = "set a 1\n\nset b 2\nset c 12";
  std::string_view line;
  ASSERT_TRUE(next_line(journal, line));
  EXPECT_EQ(line, "set a 1");
  ASSERT_TRUE(next_line(journal, line));
  EXPECT_EQ(line, "");
  ASSERT_TRUE(next_line(journal, line));
  EXPECT_EQ(line, "set b 2");
  EXPECT_FALSE(next_line(journal, line));
}

}  // namespace
}  // namespace linux_machine
