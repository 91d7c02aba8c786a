#include "lab/live/sparkline.h"

#include <gmock/gmock.h>

#include "lab/fakes/fake_run.h"

namespace lab {
namespace {

using ::testing::DoubleEq;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNan;

std::vector<double> seconds(int count) {
  std::vector<double> time_s;
  for (int second = 0; second < count; ++second) {
    time_s.push_back(second);
  }
  return time_s;
}

TEST(Sparkline, HasEightSteps) {
  const std::vector<double> rising = {0, 1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(sparkline(rising, {.least = 0, .most = 8}, 0, kBare), "▁▂▃▄▅▆▇██");
  EXPECT_EQ(sparkline(rising, {.least = 0, .most = 8}, 0, kBareAscii), "_.-=+*%##");
}

TEST(Sparkline, IsBlankWhereNothingWasMeasured) {
  EXPECT_EQ(sparkline({0, kNotMeasured, 8}, {.least = 0, .most = 8}, 0, kBare), "▁ █");
  EXPECT_EQ(sparkline({kNotMeasured}, {}, 4, kBare), " ");
}

TEST(Sparkline, DoesNotMagnifyNoise) {
  EXPECT_EQ(sparkline({40, 40.1}, {.least = 40, .most = 40.1}, 4, kBare), "▄▅");
  EXPECT_EQ(sparkline({0, 0}, {.least = 0, .most = 0}, 0, kBare), "  ") << "no height to stand in";
}

TEST(Sparkline, CellsAreMeansAndTheLastOneIsNow) {
  EXPECT_THAT(cell_means(seconds(6), {1, 2, 3, 4, 5, 6}, 2, 3), ElementsAre(1.5, 3.5, 5.5));
  EXPECT_THAT(cell_means(seconds(7), {1, 2, 3, 4, 5, 6, 7}, 2, 3), ElementsAre(3.5, 5.5, 7));
}

TEST(Sparkline, CellsBeforeTheRunAndHolesAreEmpty) {
  EXPECT_THAT(cell_means(seconds(4), {1, 2, kNotMeasured, kNotMeasured}, 2, 3),
              ElementsAre(IsNan(), DoubleEq(1.5), IsNan()));
  EXPECT_THAT(cell_means({}, {}, 2, 2), ElementsAre(IsNan(), IsNan()));
  EXPECT_THAT(cell_means(seconds(2), {1, 2}, 2, 0), IsEmpty());
}

TEST(Sparkline, ManyRowsOfACellGiveItsMeanToo) {
  std::vector<double> time_s;
  std::vector<double> values;
  for (int row = 0; row < 100000; ++row) {
    time_s.push_back(row * 1e-3);
    values.push_back(row);
  }
  const std::vector<double> means = cell_means(time_s, values, 50, 2);
  EXPECT_NEAR(means[0], 25000, 1000);
  EXPECT_NEAR(means[1], 75000, 1000);
}

TEST(Sparkline, ACellIsARoundTimeThatGrowsWithTheRun) {
  EXPECT_EQ(cell_span_s(0, 0.1, 40), 0.5);
  EXPECT_EQ(cell_span_s(21, 0.1, 40), 1);
  EXPECT_EQ(cell_span_s(180, 0.1, 40), 5);
  EXPECT_EQ(cell_span_s(86400, 0.1, 40), 5);
}

TEST(Sparkline, ACellIsLongerThanTheTimeBetweenSamples) {
  EXPECT_EQ(cell_span_s(180, 5, 40), 10);
  EXPECT_EQ(cell_span_s(1e6, 1e5, 40), 1.4e5) << "beyond all round times";
}

TEST(Sparkline, ABarFillsInEighthsOfAColumn) {
  EXPECT_EQ(bar(0, 6, kBare), "▕    ▏");
  EXPECT_EQ(bar(0.5, 6, kBare), "▕██  ▏");
  EXPECT_EQ(bar(17.0 / 32, 6, kBare), "▕██▏ ▏");
  EXPECT_EQ(bar(1, 6, kBare), "▕████▏");
  EXPECT_EQ(bar(0.5, 6, kBareAscii), "[##  ]");
}

TEST(Sparkline, ABarHasEnds) {
  EXPECT_EQ(bar(1.2, 4, kBare), "▕██▏");
  EXPECT_EQ(bar(-1, 4, kBare), "▕  ▏");
  EXPECT_EQ(bar(kNotMeasured, 4, kBare), "▕  ▏");
}

}  // namespace
}  // namespace lab
