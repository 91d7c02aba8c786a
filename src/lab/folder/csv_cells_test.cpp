#include "lab/folder/csv_cells.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

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
