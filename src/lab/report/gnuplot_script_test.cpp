#include "lab/report/gnuplot_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "lab/example_run.h"
#include "lab/report/ink_style.h"
#include "lab/report/svg_chart.h"

namespace lab {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// Measured ones, of which the last is not bounded above.
Chart three_points() {
  return {.title = "Power",
          .x_label = "duty",
          .y_label = "W",
          .series = {{.name = "PC0C",
                      .style = Series::Style::points,
                      .x = {0, 0.5, 1},
                      .y = {10, 20, 30},
                      .low = {9, 18, 29},
                      .high = {11, 22, std::numeric_limits<double>::infinity()}}},
          .note = {}};
}

TEST(GnuplotScript, HasScalesBandsPointsAndTheColoursOfTheReport) {
  const std::string script =
      gnuplot_script({figures(example_run(), example_answer(), 100).at(0)}, Picture::png);
  EXPECT_THAT(script, AllOf(HasSubstr("set terminal pngcairo"), HasSubstr("set logscale x\n"),
                            Not(HasSubstr("set logscale y")), HasSubstr("filledcurves"),
                            HasSubstr("with points"), HasSubstr("title 'TC0D fitted'"),
                            HasSubstr(ink_style({.colour = 0}).colour)));
}

TEST(GnuplotScript, GivesPointsBarsAndCurvesBands) {
  Answer answer;
  answer.charts.push_back(three_points());
  const std::string script =
      gnuplot_script({figures(example_run(), answer, 100).at(0)}, Picture::png);
  EXPECT_THAT(script, AllOf(HasSubstr("with yerrorbars"), Not(HasSubstr("filledcurves"))));
  answer.charts[0].series[0].style = Series::Style::line;
  const std::string curve =
      gnuplot_script({figures(example_run(), answer, 100).at(0)}, Picture::png);
  EXPECT_THAT(curve, AllOf(Not(HasSubstr("with yerrorbars")), HasSubstr("filledcurves")));
}

TEST(GnuplotScript, NamesWhatStandsAtAnAxisOfNames) {
  Answer answer;
  answer.charts.push_back(three_points());
  answer.charts[0].x_names = {"bfma", "bint"};
  const std::vector<Figure> all = figures(example_run(), answer, 100);
  EXPECT_THAT(gnuplot_script({all.at(0)}, Picture::png),
              HasSubstr("set xtics ('bfma' 0, 'bint' 1)\n"));
  EXPECT_THAT(svg_chart(all.at(0)), AllOf(HasSubstr(">bfma</text>"), HasSubstr(">bint</text>")));
}

TEST(SvgChart, GivesPointsBarsAndCurvesBands) {
  Answer answer;
  answer.charts.push_back(three_points());
  const std::string svg = svg_chart(figures(example_run(), answer, 100).at(0));
  EXPECT_THAT(svg, AllOf(HasSubstr("class=\"bars ink"), Not(HasSubstr("class=\"band"))));
  answer.charts[0].series[0].style = Series::Style::line;
  EXPECT_THAT(svg_chart(figures(example_run(), answer, 100).at(0)),
              AllOf(HasSubstr("class=\"band ink"), Not(HasSubstr("class=\"bars"))));
}

TEST(GnuplotScript, DrawsSeveralFiguresBelowEachOther) {
  const std::string script = gnuplot_script(figures(example_run(), {}, 100), Picture::pdf);
  EXPECT_THAT(script,
              AllOf(HasSubstr("set multiplot layout 4,1"), HasSubstr("set xrange [0:179.9]"),
                    HasSubstr("set label 'idle before' at 0,")));
}

TEST(GnuplotScript, LetsNoLabelActOnGnuplot) {
  Figure figure = figures(example_run(), example_answer(), 100).at(0);
  figure.chart.title = "it's `touch /tmp/x`\nsystem('x')";
  const std::string script = gnuplot_script({figure}, Picture::svg);
  EXPECT_THAT(script, HasSubstr("title 'it''s `touch /tmp/x` system(''x'')' left\n"));
}

TEST(InkStyle, IsReadFromTheStyleOfThePage) {
  for (int colour = 0; colour < Ink::kColours; ++colour) {
    EXPECT_THAT(ink_style({.colour = colour}).colour, testing::MatchesRegex("#[0-9a-f]{6}"));
  }
  EXPECT_TRUE(ink_style({.dash = 0}).dashes.empty());
  for (int dash = 1; dash < Ink::kDashes; ++dash) {
    EXPECT_FALSE(ink_style({.dash = dash}).dashes.empty());
  }
  EXPECT_NE(paper_colour("grid"), "");
}

}  // namespace
}  // namespace lab
