#include "lab/report/summary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

namespace lab {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string summary(const Answer& answer, std::size_t columns = 80,
                    Letters letters = Letters::utf8) {
  std::ostringstream out;
  write_summary(out, answer, letters, columns);
  return out.str();
}

TEST(Summary, HasSentencesAlignedTablesAndWarnings) {
  Answer answer;
  answer.sentences = {"TC0D warms by 0.83 K for each watt.", "It settles after a minute."};
  answer.tables.push_back(
      {.title = "Stages",
       .head = {"Key", "Resistance", "Time constant"},
       .rows = {{"TC0D", Estimate{0.3094, 0.3012, 0.3181, "K/W"}, Estimate{1.6, 1.5, 1.7, "s"}},
                {"TA0P", Estimate{12.2, 11, 13, "K/W"}, "not seen"}}});
  answer.warnings = {"The run is short."};
  EXPECT_EQ(summary(answer),
            "TC0D warms by 0.83 K for each watt.\n"
            "It settles after a minute.\n"
            "\n"
            "Stages\n"
            "Key    Resistance                      Time constant\n"
            "TC0D   0.3094 K/W (0.3012 to 0.3181)   1.60 s (1.50 to 1.70)\n"
            "TA0P     12.2 K/W (11.0 to 13.0)       not seen\n"
            "\n"
            "Warning: The run is short.\n");
}

TEST(Summary, BreaksLongSentencesBetweenWords) {
  Answer answer;
  answer.sentences = {"one two three four"};
  answer.warnings = {"five six seven"};
  EXPECT_EQ(summary(answer, 18),
            "one two three four\n\n"
            "Warning: five six\n"
            "         seven\n");
  answer.warnings.clear();
  EXPECT_EQ(summary(answer, 10), "one two\nthree four\n");
  EXPECT_EQ(summary(answer, 2), "one\ntwo\nthree\nfour\n");
}

TEST(Summary, KeepsItsColumnsWhereATerminalShowsNoDegreeSign) {
  Answer answer;
  answer.sentences = {"TC0D was 35 °C on average."};
  answer.tables.push_back({.title = "",
                           .head = {"Key", "Unit", "Mean", "Least"},
                           .rows = {{"TC0D", "°C", Estimate{35.1, 33.3, 36.8, "degC"}, "33.6"},
                                    {"PC0C", "W", Estimate{20.4, 15.1, 25.7, "W"}, "12.8"}}});
  EXPECT_EQ(summary(answer, 80, Letters::ascii),
            "TC0D was 35 degC on average.\n"
            "\n"
            "Key    Unit   Mean                       Least\n"
            "TC0D   degC   35.1 degC (33.3 to 36.8)   33.6\n"
            "PC0C   W      20.4 W    (15.1 to 25.7)   12.8\n");
}

TEST(Summary, SaysThatTheDataCannotDecide) {
  Answer answer;
  answer.decided = false;
  EXPECT_THAT(summary(answer), HasSubstr("cannot decide"));
  EXPECT_EQ(summary({}), "");
}

TEST(Summary, LetsNoLabelActOnTheTerminal) {
  Answer answer;
  answer.sentences = {"a\x1b[2Jb"};
  answer.tables.push_back({.title = "\x1b", .head = {"\x1b"}, .rows = {{"\x1b"}}});
  answer.warnings = {"\x1b"};
  EXPECT_THAT(summary(answer), Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace lab
