#include "lab/live/key_rows.h"

#include <gmock/gmock.h>

#include "lab/fakes/fake_run.h"

namespace lab {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::vector<std::string> rows_of(const FakeRun& run, int rows, int columns) {
  Extremes extremes;
  extremes.take(run.samples);
  return key_rows(run.samples, extremes, rows, columns, kBare);
}

TEST(KeyRows, ShowNowLeastMostAndTheLastMinutes) {
  FakeRun run;
  run.add_key("TC0P", "degC");
  run.add_key("PCPC", "W");
  for (const double degrees : {40.0, 44.0, 48.0, 56.0, 52.0, 52.0}) {
    run.sample({degrees, 71.5});
  }
  EXPECT_THAT(rows_of(run, 5, 42),
              ElementsAre("key    now      min   max        last 0:32",  //
                          "TC0P  52.0 °C  40.0  56.0              ▂▇▇",
                          "PCPC 71.50 W  71.50 71.50              ▅▅▅"));
}

TEST(KeyRows, ShowSourcesWhereThereIsRoom) {
  FakeRun run;
  run.add_key("TC0P", "degC", "package 温度\x1b");
  run.sample({40});
  EXPECT_THAT(rows_of(run, 5, 100)[1], HasSubstr("TC0P package 温度\\x1b 40.0 °C"));
  EXPECT_THAT(rows_of(run, 5, 60)[1], HasSubstr("TC0P 40.0 °C"));
}

TEST(KeyRows, SayHowManyKeysHaveNoRow) {
  FakeRun run;
  for (const char* name : {"TC0P", "TC1P", "TC2P", "TC3P", "TC4P"}) {
    run.add_key(name, "degC");
  }
  run.sample({40, 40, 40, 40, 40});
  EXPECT_THAT(rows_of(run, 6, 40), SizeIs(6));
  EXPECT_EQ(rows_of(run, 4, 40).back(), "+ 2 more");
  EXPECT_THAT(rows_of(run, 2, 12), ElementsAre("TC0P 40.0 °C", "+ 4 more"));
  EXPECT_THAT(rows_of(run, 1, 12), ElementsAre("+ 5 more"));
  EXPECT_THAT(rows_of(run, 0, 12), IsEmpty());
}

TEST(KeyRows, LeaveOutWhatANarrowScreenCannotHold) {
  FakeRun run;
  run.add_key("TC0P", "degC");
  run.sample({40});
  EXPECT_EQ(rows_of(run, 1, 22).front(), "TC0P 40.0 °C 40.0 40.0");
  EXPECT_EQ(rows_of(run, 1, 12).front(), "TC0P 40.0 °C");
  EXPECT_EQ(rows_of(run, 1, 6).front(), "TC0P …");
}

TEST(KeyRows, AKeyThatWasNotMeasuredHasNoNumbers) {
  FakeRun run;
  run.add_key("F0Ac", "RPM");
  run.sample({kNotMeasured});
  EXPECT_EQ(rows_of(run, 1, 23).front(), "F0Ac    - RPM    -    -");
}

TEST(KeyRows, AColumnOfTheLoadIsNoKey) {
  FakeRun run;
  run.add_key("TC0P", "degC");
  EXPECT_THAT(key_columns(run.samples), ElementsAre(4));
}

}  // namespace
}  // namespace lab
