#include "lab/report/figure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "lab/example_run.h"

namespace lab {
namespace {

using testing::ElementsAre;

std::vector<std::string> titles(const std::vector<Figure>& figures) {
  std::vector<std::string> all;
  std::transform(figures.begin(), figures.end(), std::back_inserter(all),
                 [](const Figure& figure) { return figure.chart.title; });
  return all;
}

TEST(Figures, ShowTheAnswerFirstAndThenTheSamplesByKind) {
  EXPECT_THAT(titles(figures(example_run(), example_answer(), 10000)),
              ElementsAre("Thermal impedance", "Temperatures over time", "Power over time",
                          "Load over time", "Fans over time"));
}

TEST(Figures, GiveAKeyOneColour) {
  const std::vector<Figure> all = figures(example_run(), example_answer(), 10000);
  EXPECT_EQ(all[0].chart.series[1].name, "TC0D fitted");
  EXPECT_EQ(all[1].chart.series[0].name, "TC0D, coretemp: Package id 0");
  EXPECT_EQ(all[0].inks[1].colour, all[1].inks[0].colour);
}

TEST(Figures, DrawLoadInPercentAndTimeInAUnitThatFits) {
  const std::vector<Figure> all = figures(long_run(400'000, 5), {}, 1000);
  const auto load = std::find_if(all.begin(), all.end(), [](const Figure& figure) {
    return figure.chart.title == "Load over time";
  });
  ASSERT_NE(load, all.end());
  EXPECT_EQ(load->chart.y_label, "processor time, %");
  EXPECT_EQ(load->chart.x_label, "time, h");
  const Series& asked = load->chart.series.back();
  EXPECT_EQ(asked.name, "asked");
  EXPECT_NEAR(asked.x.back(), 400'000 / 36'000.0, 0.01);
  EXPECT_NEAR(*std::max_element(asked.y.begin(), asked.y.end()), 100, 0.1);
}

TEST(Figures, OfAnAnswerOverTheRunsTimeAreZoomedWithTheSamples) {
  Answer answer = example_answer();
  Chart residuals;
  residuals.title = "Residuals";
  residuals.over_time = true;
  residuals.series.resize(1);
  residuals.series[0].x = {0, 3600};
  residuals.series[0].y = {0, 0};
  answer.charts.push_back(residuals);
  const std::vector<Figure> all = figures(long_run(400'000, 5), answer, 1000);
  EXPECT_FALSE(all[0].over_time);
  ASSERT_EQ(all[1].chart.title, "Residuals");
  EXPECT_TRUE(all[1].over_time);
  EXPECT_FALSE(all[1].of_samples);
  EXPECT_EQ(all[1].chart.x_label, all[2].chart.x_label);
  EXPECT_THAT(all[1].chart.series[0].x, ElementsAre(0, 1));  // h
}

TEST(Figures, KeepAPeakOfOneSampleAmongMany) {
  const std::vector<Figure> all = figures(long_run(100'000, 50'001), {}, 1000);
  const std::vector<double>& drawn = all[0].chart.series[0].y;
  EXPECT_LE(drawn.size(), 1000U);
  EXPECT_EQ(std::count(drawn.begin(), drawn.end(), 150), 1);
  EXPECT_EQ(all[0].samples_in_a_pair, 100'000 / 500.0);
}

TEST(Figures, LeaveAGapWhereNothingWasMeasured) {
  lab::Run run = long_run(10'000, 1);
  for (std::size_t row = 4'321; row < run.samples.time_s.size(); ++row) {
    run.samples.time_s[row] += 60;
  }
  for (const std::size_t most : {std::size_t{100}, std::size_t{100'000}}) {
    const std::vector<double> drawn = figures(run, {}, most)[0].chart.series[0].y;
    EXPECT_TRUE(std::any_of(drawn.begin(), drawn.end(), [](double y) { return std::isnan(y); }))
        << most;
  }
}

TEST(Figures, GiveAColumnWithoutAUnitAChartOfItsOwn) {
  lab::Run run;
  run.samples.time_s = {0, 1};
  run.samples.columns = {{.name = "a", .unit = "", .source = "", .values = {1, 2}},
                         {.name = "b", .unit = "", .source = "", .values = {1, 2}},
                         {.name = "c", .unit = "bar", .source = "", .values = {1, 2}},
                         {.name = "d", .unit = "bar", .source = "", .values = {1, 2}}};
  EXPECT_THAT(titles(figures(run, {}, 100)),
              ElementsAre("a over time", "b over time", "In bar over time"));
}

TEST(Figures, LeaveOutWhatWasNeverMeasured) {
  lab::Run run;
  run.samples.time_s = {0};
  run.samples.columns = {{.name = "a", .unit = "W", .source = "", .values = {std::nan("")}}};
  EXPECT_TRUE(figures(run, {}, 100).empty());
  EXPECT_TRUE(figures({}, {}, 100).empty());
}

}  // namespace
}  // namespace lab
