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
  EXPECT_EQ(refusal("a,b\n0,1\n\x1b[2J,2\n"),
            "x.csv:3: \"\\x1b[2J\" is no time: --time names the column that is");
  EXPECT_THROW(read_csv("/nowhere/x.csv"), CsvError);
  EXPECT_THROW(read_csv("/"), CsvError);
}

TEST(CsvTable, SaysWhereItIsNone) {
  EXPECT_EQ(refusal("a,b\n0,1\n0,1,2\n"), "x.csv:3: 3 columns, and 2 before");
  EXPECT_EQ(refusal("a,b\n0,1\nsoon,2\n"),
            "x.csv:3: \"soon\" is no time: --time names the column that is");
  EXPECT_EQ(refusal("a,b\n0,1\n"), "x.csv: fewer than two lines of numbers in it");
  EXPECT_EQ(refusal(""), "x.csv: fewer than two lines of numbers in it");
  EXPECT_EQ(refusal("a,b\n0,1\n1,2\n", {.time = "c", .time_unit_s = 1}),
            "x.csv: no column \"c\" in it: it has a, b");
  EXPECT_THAT(refusal("a,b\n0,1\n1,2\n", {.time = "3", .time_unit_s = 1}),
              testing::HasSubstr("no column \"3\""));
}

}  // namespace
}  // namespace lab
