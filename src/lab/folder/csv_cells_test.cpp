#include "lab/folder/csv_cells.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(CsvCells, KnowNumbersWithGroupedThousands) {
  for (const char separator : {';', ','}) {
    EXPECT_EQ(number_in_cell("1,000.5", separator), 1000.5);
    EXPECT_EQ(number_in_cell("-1,234,567.25", separator), -1234567.25);
    EXPECT_EQ(number_in_cell("1.000,5", separator), 1000.5);
    EXPECT_EQ(number_in_cell("1.234.567,25", separator), 1234567.25);
  }
  EXPECT_EQ(number_in_cell("1,000", ';'), 1.0) << "a comma alone is a point";
}

TEST(CsvCells, TakeNothingElseForGroupedThousands) {
  for (const char* text : {"1,00.5", "1,000.5.5", "1,000,00.5", "1,0000.5", "1.000,000.5", ",.5"}) {
    EXPECT_FALSE(number_in_cell(text, ';')) << text;
    EXPECT_FALSE(number_in_cell(text, ',')) << text;
  }
}

TEST(CsvCells, KnowInstantsInTheFormsWhoseDayIsCertain) {
  const auto instant = instant_in_cell("2026-11-21 15:00:00.5");
  ASSERT_TRUE(instant);
  EXPECT_EQ(instant_in_cell("2026-11-21T15:00:00.5"), instant);
  EXPECT_EQ(instant_in_cell("2026/11/21 15:00:00.5"), instant);
  EXPECT_EQ(instant_in_cell("21.11.2026 15:00:00.5"), instant);
  EXPECT_FALSE(instant_in_cell("11/21/2026 15:00:00.5"));
  EXPECT_FALSE(instant_in_cell("2026-11-21"));
}

TEST(CsvCells, KnowTimesOfTheClock) {
  EXPECT_EQ(clock_in_cell("09:00:01"), 9 * 3600 + 1);
  EXPECT_EQ(clock_in_cell("9:30:00.5"), 9.5 * 3600 + 0.5);
  EXPECT_EQ(clock_in_cell("0:00:00,25"), 0.25);
  EXPECT_EQ(clock_in_cell("100:00:00"), 360000) << "a stopwatch";
}

TEST(CsvCells, TakeNothingElseForATimeOfTheClock) {
  for (const char* text : {"", "9:30", "09:60:00", "09:00:60", "09:00:0", "a:00:00", "09:00:00x",
                           "09:00:00.", "09:00-00", ":00:00", "-1:00:00", "09:-1:00"}) {
    EXPECT_FALSE(clock_in_cell(text)) << text;
  }
}

}  // namespace
}  // namespace lab
