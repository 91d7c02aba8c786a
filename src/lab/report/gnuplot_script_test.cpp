#include "lab/report/gnuplot_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "lab/example_run.h"
#include "lab/report/ink_style.h"

namespace lab {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST(GnuplotScript, HasScalesBandsPointsAndTheColoursOfTheReport) {
  const std::string script =
      gnuplot_script({figures(example_run(), example_answer(), 100).at(0)}, Picture::png);
  EXPECT_THAT(script, AllOf(HasSubstr("set terminal pngcairo"), HasSubstr("set logscale x\n"),
                            Not(HasSubstr("set logscale y")), HasSubstr("filledcurves"),
                            HasSubstr("with points"), HasSubstr("title 'TC0D fitted'"),
                            HasSubstr(ink_style({.colour = 0}).colour)));
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
