#include "lab/live/extremes.h"

#include <gtest/gtest.h>

#include <cmath>

#include "lab/fakes/fake_run.h"

namespace lab {
namespace {

Table one_column(const std::vector<double>& values) {
  return {.time_s = std::vector<double>(values.size()),
          .columns = {{.name = "TC0P", .unit = "degC", .source = "", .values = values}}};
}

TEST(Extremes, GrowWithTheTable) {
  Extremes extremes;
  extremes.take(one_column({40, 42}));
  EXPECT_EQ(extremes.of(0).least, 40);
  EXPECT_EQ(extremes.of(0).most, 42);
  extremes.take(one_column({40, 42, 39, 41}));
  EXPECT_EQ(extremes.of(0).least, 39);
  EXPECT_EQ(extremes.of(0).most, 42);
}

TEST(Extremes, LookAtEachRowOnce) {
  Extremes extremes;
  extremes.take(one_column({40, 42}));
  extremes.take(one_column({0, 99, 41}));
  EXPECT_EQ(extremes.of(0).least, 40);
  EXPECT_EQ(extremes.of(0).most, 42);
}

TEST(Extremes, PassOverWhatWasNotMeasured) {
  Extremes extremes;
  extremes.take(one_column({kNotMeasured}));
  EXPECT_TRUE(std::isnan(extremes.of(0).least));
  extremes.take(one_column({kNotMeasured, 40, kNotMeasured}));
  EXPECT_EQ(extremes.of(0).least, 40);
  EXPECT_EQ(extremes.of(0).most, 40);
}

TEST(Extremes, BeginAgainWithAnotherTable) {
  Extremes extremes;
  extremes.take(one_column({40, 42, 44}));
  extremes.take(one_column({10}));
  EXPECT_EQ(extremes.of(0).most, 10);
}

}  // namespace
}  // namespace lab
