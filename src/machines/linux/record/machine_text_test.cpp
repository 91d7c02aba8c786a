#include "machines/linux/record/machine_text.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace linux_machine {
namespace {

std::vector<MachineEntry> entries_of(const std::string& text) {
  const auto entries = read_machine_text(text);
  EXPECT_TRUE(entries) << (entries ? "" : entries.failure().message);
  return entries ? *entries : std::vector<MachineEntry>();
}

std::string complaint_about(const std::string& text) {
  const auto entries = read_machine_text(text);
  return entries ? "nothing" : entries.failure().message;
}

TEST(MachineText, HasAnAttributeALine) {
  const auto entries = entries_of(
      "# a comment\n"
      "\n"
      "0444 class/a/temp = 41 000\n"
      "0200 class/a/pwm1_enable =\n"
      "0400 class/a/power1_input ! ENODATA\n"
      "link class/b -> ../devices/b\n");
  ASSERT_EQ(entries.size(), 4U);
  EXPECT_EQ(entries[0].path, "class/a/temp");
  EXPECT_EQ(entries[0].text, "41 000");
  EXPECT_EQ(entries[0].mode, 0444);
  EXPECT_EQ(entries[0].error, 0);
  EXPECT_FALSE(entries[0].link);
  EXPECT_EQ(entries[1].mode, 0200);
  EXPECT_EQ(entries[1].text, "");
  EXPECT_EQ(entries[2].error, ENODATA);
  EXPECT_EQ(entries[2].mode, 0400);
  EXPECT_TRUE(entries[3].link);
  EXPECT_EQ(entries[3].path, "class/b");
  EXPECT_EQ(entries[3].text, "../devices/b");
}

TEST(MachineText, HasLaterAnswersBehindTheFirst) {
  const auto entries = entries_of(
      "0444 a/energy = 5\n"
      "0444 b = 1\n"
      "+1.003 a/energy = 7\n"
      "+2.5 a/energy ! EIO\n");
  ASSERT_EQ(entries.size(), 2U);
  ASSERT_EQ(entries[0].later.size(), 2U);
  EXPECT_EQ(entries[0].later[0].after_s, 1.003);
  EXPECT_EQ(entries[0].later[0].text, "7");
  EXPECT_EQ(entries[0].later[0].error, 0);
  EXPECT_EQ(entries[0].later[1].error, EIO);
  EXPECT_TRUE(entries[1].later.empty());
}

TEST(MachineText, IsReadAsItWasWritten) {
  const std::vector<std::string> lines = {
      "0444 class/a/temp1_label = CPU  Die \\x5c \\x1b[31m\n",
      "0644 devices/a\\x20b/pwm1 =\n",
      "0400 a ! EACCES\n+1.000 a = 3\n+2.001 a ! 123\n",
      "link class/hwmon/hwmon0 -> ../../devices/a b/hwmon0\n",
  };
  for (const std::string& line : lines) {
    const auto entries = entries_of(line);
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(machine_text(entries.front()), line);
  }
  EXPECT_EQ(entries_of(lines[0]).front().text, "CPU  Die \\ \x1b[31m");
  EXPECT_EQ(entries_of(lines[1]).front().path, "devices/a b/pwm1");
  EXPECT_EQ(entries_of(lines[2]).front().later[1].error, 123);
}

TEST(MachineText, SaysWhichLineIsWrongAndWhy) {
  EXPECT_EQ(complaint_about("# one\n0444 a\n"), "line 2: too few words");
  EXPECT_EQ(complaint_about("0444 a > 1\n"), "line 1: neither = nor ! and an error");
  EXPECT_EQ(complaint_about("0444 a ! EWHAT\n"), "line 1: neither = nor ! and an error");
  EXPECT_EQ(complaint_about("0444 a ! 0\n"), "line 1: neither = nor ! and an error");
  EXPECT_EQ(complaint_about("0888 a = 1\n"), "line 1: neither link, + and a time, nor permissions");
  EXPECT_EQ(complaint_about("17777 a = 1\n"),
            "line 1: neither link, + and a time, nor permissions");
  EXPECT_EQ(complaint_about("link a = b\n"), "line 1: a link without ->");
  EXPECT_EQ(complaint_about("+1 a = b\n"), "line 1: it said nothing before");
  EXPECT_EQ(complaint_about("0444 a = 1\n+x a = b\n"), "line 2: no time behind the +");
  EXPECT_EQ(complaint_about("0444 a = 1\n+inf a = b\n"), "line 2: no time behind the +");
  EXPECT_EQ(complaint_about("0444 a = 1\n+0 a = b\n"), "line 2: not behind the answer before");
  EXPECT_EQ(complaint_about("0444 a = 1\n+2 a = b\n+2 a = c\n"),
            "line 3: not behind the answer before");
  for (const char* wrong : {"\\", "\\x", "\\x4", "\\y41", "\\xg1"}) {
    EXPECT_EQ(complaint_about(std::string("0444 a = ") + wrong + "\n"),
              "line 1: a backslash without x and two digits behind it")
        << wrong;
  }
}

TEST(MachineText, HoldsWhateverIsThereUpToItsEnd) {
  EXPECT_EQ(entries_of("0444 a = 1").size(), 1U);
  EXPECT_TRUE(entries_of("").empty());
  EXPECT_NE(complaint_about(std::string("0444 \0\0", 7)), "nothing");
}

}  // namespace
}  // namespace linux_machine
