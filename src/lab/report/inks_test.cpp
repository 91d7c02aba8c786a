#include "lab/report/inks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace lab {
namespace {

Series curve(const std::string& name, Series::Style style = Series::Style::line) {
  return {.name = name, .style = style, .x = {}, .y = {}, .low = {}, .high = {}};
}

TEST(Inks, GiveAKeyTheSameColourInEveryChart) {
  Inks inks({"PC0C", "TC0D", "TA0P"});
  const Ink alone = inks.of({curve("TC0D")}).at(0);
  const Ink among = inks.of({curve("TA0P fitted"), curve("TC0D, measured")}).at(1);
  EXPECT_EQ(alone.colour, 1);
  EXPECT_EQ(among.colour, 1);
  EXPECT_EQ(among.dash, 0);
}

TEST(Inks, TellCurvesOfOneKeyApart) {
  Inks inks({"TC0D"});
  const std::vector<Ink> both = inks.of({curve("TC0D up"), curve("TC0D down")});
  EXPECT_EQ(both[0].colour, both[1].colour);
  EXPECT_NE(both[0].dash, both[1].dash);
}

TEST(Inks, TellStepsFromALineOfTheSameKey) {
  Inks inks({"TC0D"});
  const std::vector<Ink> both =
      inks.of({curve("TC0D"), curve("TC0D ladder", Series::Style::steps)});
  EXPECT_EQ(both[0].colour, both[1].colour);
  EXPECT_NE(both[0].dash, both[1].dash);
}

TEST(Inks, NeedNoDashesBesidePoints) {
  Inks inks({"TC0D"});
  EXPECT_EQ(inks.of({curve("TC0D", Series::Style::points), curve("TC0D fit")}).at(1).dash, 0);
}

TEST(Inks, TakeAKeyForAWordNotForAPartOfOne) {
  Inks inks({"T1", "T11"});
  EXPECT_EQ(inks.of({curve("T11 fit")}).at(0).colour, 1);
  EXPECT_EQ(inks.of({curve("XT1")}).at(0).colour, 2) << "a new name";
}

TEST(Inks, DashOfTheLoadOnlyWhatWasAsked) {
  std::vector<std::string> names(20);
  std::generate(names.begin(), names.end(),
                [i = 0]() mutable { return "k" + std::to_string(i++); });
  const std::vector<Ink> load =
      Inks(names).of({curve("others (not of this run)"), curve("delivered"), curve("asked")});
  EXPECT_EQ(load[0].dash, 0);
  EXPECT_EQ(load[1].dash, 0);
  EXPECT_NE(load[2].dash, 0);
}

TEST(Inks, DashWhatColoursDoNotTellApart) {
  std::vector<std::string> names;
  std::vector<Series> all;
  for (int i = 0; i < Ink::kColours * Ink::kDashes; ++i) {
    names.push_back("key" + std::to_string(i));
    all.push_back(curve(names.back()));
  }
  std::set<std::pair<int, int>> seen;
  for (const Ink ink : Inks(names).of(all)) {
    seen.insert({ink.colour, ink.dash});
  }
  EXPECT_EQ(seen.size(), names.size());
}

}  // namespace
}  // namespace lab
