#include "lab/folder/csv_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace lab {
namespace {

using testing::ElementsAre;

std::string refusal(std::string_view text, const CsvLayout& layout = {}) {
  try {
    parse_csv(text, "x.csv", layout);
  } catch (const CsvError& error) {
    return error.what();
  }
  return "";
}

TEST(CsvTable, HasTheNamesOfItsHead) {
  const Table table = parse_csv("t,power,\"die temp\"\n1,10,30\n2,20,31.5\n", "x.csv", {}).table;
  EXPECT_THAT(table.time_s, ElementsAre(0, 1));
  ASSERT_EQ(table.columns.size(), 3U);
  EXPECT_EQ(table.columns[2].name, "die temp");
  EXPECT_THAT(table.columns[2].values, ElementsAre(30, 31.5));
}

TEST(CsvTable, WithoutAHeadNumbersItsColumns) {
  const Table table = parse_csv("0 10 30\n0.5 20 31\n", "x.csv", {}).table;
  EXPECT_EQ(table.columns[1].name, "column 2");
  EXPECT_THAT(table.time_s, ElementsAre(0, 0.5));
}

TEST(CsvTable, TakesSemicolonsWithDecimalCommasAndOtherLineEnds) {
  const Table table =
      parse_csv("# made by something\r\nt;T\r\n0,5;30,25\r\n1,5;31\r\n", "x.csv", {}).table;
  EXPECT_THAT(table.time_s, ElementsAre(0, 1));
  EXPECT_THAT(table.columns[1].values, ElementsAre(30.25, 31));
}

TEST(CsvTable, TakesDecimalCommasBetweenTabsToo) {
  const Table table = parse_csv("t\tT\n0,5\t30,25\n1,5\t31\n", "x.csv", {}).table;
  EXPECT_THAT(table.time_s, ElementsAre(0, 1));
  EXPECT_THAT(table.columns[1].values, ElementsAre(30.25, 31));
}

TEST(CsvTable, TakesTabsAndCellsThatWereNotMeasured) {
  const Table table = parse_csv("t\tT\n0\t30\n1\t\n2\tnan\n", "x.csv", {}).table;
  EXPECT_EQ(table.columns[1].values[0], 30);
  EXPECT_TRUE(std::isnan(table.columns[1].values[1]));
  EXPECT_TRUE(std::isnan(table.columns[1].values[2]));
}

TEST(CsvTable, TakesInstantsOfTheClock) {
  const Table table =
      parse_csv("when,T\n2026-11-21 23:59:59.5,30\n2026-11-22T00:00:01Z,31\n", "x.csv", {}).table;
  EXPECT_THAT(table.time_s, ElementsAre(0, testing::DoubleNear(1.5, 1e-6)));
}

TEST(CsvTable, TheTimeMayBeAnotherColumnInAnotherUnit) {
  const Table table =
      parse_csv("T,ms\n30,1000\n31,1500\n", "x.csv", {.time = "ms", .time_unit_s = 1e-3}).table;
  EXPECT_THAT(table.time_s, ElementsAre(0, 0.5));
  EXPECT_EQ(column_index(table, "T", "x.csv"), 0U);
  EXPECT_EQ(column_index(table, "2", "x.csv"), 1U);
}

TEST(CsvTable, LeavesOutTimesThatDoNotAscendAndCountsThem) {
  const CsvTable csv = parse_csv("0,1\n1,2\n1,3\n0.5,4\n2,5\n", "x.csv", {});
  EXPECT_THAT(csv.table.time_s, ElementsAre(0, 1, 2));
  EXPECT_EQ(csv.left_out, 2U);
}

TEST(CsvTable, NamesOfColumnsKeepTheirQuotesAndDifferFromEachOther) {
  const Table table =
      parse_csv("t,\"die, \"\"hot\"\" side\",T,T\n0,1,2,3\n1,2,3,4\n", "x.csv", {}).table;
  ASSERT_EQ(table.columns.size(), 4U);
  EXPECT_EQ(table.columns[1].name, "die, \"hot\" side");
  EXPECT_EQ(table.columns[2].name, "T");
  EXPECT_EQ(table.columns[3].name, "T (column 4)");
}

TEST(CsvTable, TakesWhatSpreadsheetsWriteBesideNumbers) {
  const Table marked = parse_csv("\xEF\xBB\xBFt;T\r\n0;1\r\n;\r\n1;2\r\n", "x.csv", {}).table;
  EXPECT_EQ(marked.columns[0].name, "t");
  EXPECT_THAT(marked.time_s, ElementsAre(0, 1)) << "a line without any value is an empty one";
  const Table old = parse_csv("t,T\r0,1\r1,2\r", "x.csv", {}).table;
  EXPECT_THAT(old.time_s, ElementsAre(0, 1));
  const Table quoted = parse_csv("t,\"die; hot\"\n0,1\n1,2\n", "x.csv", {}).table;
  ASSERT_EQ(quoted.columns.size(), 2U);
  EXPECT_EQ(quoted.columns[1].name, "die; hot");
}

TEST(CsvTable, NamesAreInUtf8WhateverTheyWereWrittenIn) {
  const Table table = parse_csv("t;T \xB0\x43;\xC2\xB5\n0;1;2\n1;2;3\n", "x.csv", {}).table;
  EXPECT_EQ(table.columns[1].name, "T \xC2\xB0\x43");
  EXPECT_EQ(table.columns[2].name, "\xC2\xB5");
}

TEST(CsvTable, WhatIsNoTextIsRefusedInWordsThatATerminalCanShow) {
  using namespace std::string_literals;
  EXPECT_THAT(refusal("t\0,\0T\0"s), testing::HasSubstr("save it as CSV in UTF-8"));
  EXPECT_THAT(refusal("a,b\n0,1\n\x1b[2J,2\n"),
              testing::StartsWith("x.csv:3: \"\\x1b[2J\" is no time. "));
  EXPECT_THROW(read_csv("/nowhere/x.csv"), CsvError);
  EXPECT_THROW(read_csv("/"), CsvError);
}

TEST(CsvTable, TakesUnitsFromItsHeadOrTheLineBelow) {
  const CsvLayout as_it_says{.time = "1", .time_unit_s = std::nullopt};
  const CsvTable head = parse_csv("Time (ms),Tj (K)\n0,300\n100,301\n", "x.csv", as_it_says);
  EXPECT_THAT(head.table.time_s, ElementsAre(0, 0.1));
  EXPECT_EQ(head.time_unit, "ms");
  EXPECT_EQ(head.table.columns[1].unit, "K");
  const CsvTable below = parse_csv("t,P,T\n(ms),(mW),\n0,1,2\n100,1,2\n", "x.csv", as_it_says);
  EXPECT_THAT(below.table.time_s, ElementsAre(0, 0.1));
  EXPECT_EQ(below.table.columns[1].unit, "mW");
  EXPECT_EQ(below.table.columns[2].unit, "");
  const Table asked = parse_csv("Time (ms),T\n0,300\n100,301\n", "x.csv", {}).table;
  EXPECT_THAT(asked.time_s, ElementsAre(0, 100)) << "a unit that is given wins";
  EXPECT_THAT(refusal("t [fortnight],T\n0,1\n1,2\n", as_it_says),
              testing::HasSubstr("--time-unit"));
}

TEST(CsvTable, TakesTimesOfTheClock) {
  const Table table = parse_csv("t;T\n09:59:59,5;1\n10:00:00;2\n", "x.csv", {}).table;
  EXPECT_THAT(table.time_s, ElementsAre(0, 0.5));
}

TEST(CsvTable, TimesOfTheClockGoOnBehindMidnight) {
  const CsvTable night =
      parse_csv("t;T\n23:59:59;1\n00:00:01;2\n23:00:00;3\n00:00:00;4\n", "x.csv", {});
  EXPECT_THAT(night.table.time_s, ElementsAre(0, 2, 82801, 86401));
  EXPECT_EQ(night.left_out, 0U);
  const CsvTable back = parse_csv("t;T\n15:00:00;1\n15:00:02;2\n14:59:00;3\n", "x.csv", {});
  EXPECT_EQ(back.left_out, 1U) << "a clock that was set";
  const CsvTable watch = parse_csv("t;T\n30:00:00;1\n30:00:01;2\n0:00:00;3\n", "x.csv", {});
  EXPECT_EQ(watch.left_out, 1U) << "a stopwatch, started again";
}

TEST(CsvTable, KnowsAColumnByTheBeginningOfItsName) {
  const Table table =
      parse_csv("Zeit [s],P [W],P2 [W],T die\n0,1,2,3\n1,2,3,4\n", "x.csv", {}).table;
  EXPECT_EQ(column_index(table, "P", "x.csv"), 1U) << "the whole name before its unit";
  EXPECT_EQ(column_index(table, "P2", "x.csv"), 2U);
  EXPECT_EQ(column_index(table, "T d", "x.csv"), 3U);
  EXPECT_THROW(column_index(table, "", "x.csv"), CsvError);
}

TEST(CsvTable, SaysWhereItIsNone) {
  EXPECT_THAT(
      refusal("a,b\n0,1\n0,1,2\n"),
      testing::StartsWith("x.csv:3: 3 columns, and 2 before. Line 1 was taken for the head"));
  EXPECT_EQ(refusal("a,b\n0,1\nsoon,2\n"),
            "x.csv:3: \"soon\" is no time. One is a number such as 1000.5, 2026-11-21T15:00:00.5, "
            "21.11.2026 15:00:00 or 15:00:00.5; --time names its column. Line 1 was taken for the "
            "head: a, b. What a logger "
            "writes before its head is to begin with #, or to be left out.");
  EXPECT_THAT(refusal("Logger model 7\nt;T\n0;1\n"),
              testing::HasSubstr("No line was taken for a head"));
  EXPECT_EQ(refusal("a,b\n0,1\n"), "x.csv: fewer than two lines of numbers in it");
  EXPECT_EQ(refusal(""), "x.csv: fewer than two lines of numbers in it");
  EXPECT_EQ(refusal("a,b\n0,1\n1,2\n", {.time = "c", .time_unit_s = 1}),
            "x.csv: no column \"c\" in it: it has a, b");
  EXPECT_THAT(refusal("a,b\n0,1\n1,2\n", {.time = "3", .time_unit_s = 1}),
              testing::HasSubstr("no column \"3\""));
}

}  // namespace
}  // namespace lab
