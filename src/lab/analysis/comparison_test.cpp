#include "lab/analysis/comparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "lab/analysis/step.h"
#include "lab/fakes/fake_ladder.h"
#include "lab/fakes/fake_two_nodes.h"

namespace lab {
namespace {

using nlohmann::ordered_json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

ordered_json value_of(double value, double half, const char* unit) {
  return to_json({.value = value, .low = value - half, .high = value + half, .unit = unit});
}

/// An answer of resistances with intervals of 2 %.
ComparedRun with_resistances(const std::string& name, const std::vector<double>& resistances) {
  ComparedRun run{.name = name, .answer = {}, .conditions = {}};
  for (std::size_t at = 0; at < resistances.size(); ++at) {
    run.answer.figures["keys"]["T" + std::to_string(at)]["resistance"] =
        value_of(resistances[at], 0.02 * resistances[at], "K/W");
  }
  return run;
}

TEST(Compare, SaysByHowMuchInWords) {
  const Comparison comparison =
      compare({with_resistances("old", {0.4}), with_resistances("new", {0.3})}, {});
  EXPECT_EQ(comparison.verdict, Verdict::better);
  EXPECT_THAT(comparison.answer.sentences,
              ElementsAre("new is better than old: T0 resistance is 25 % lower (95 %: 23 to 28)."));
  const ordered_json& figures = comparison.answer.figures;
  EXPECT_EQ(figures["verdict"], "better");
  const ordered_json& difference = figures["runs"][0]["differences"][0];
  EXPECT_EQ(difference["name"], "keys.T0.resistance");
  EXPECT_NEAR(difference["difference"]["value"], -25, 1e-9);
  EXPECT_NEAR(difference["difference"]["low"], -27.5, 1e-9);  // hypot of 1.5 % and 2 %
  EXPECT_EQ(difference["counts"], true);
}

TEST(Compare, OfOneUpAndOneDownIsDifferent) {
  EXPECT_EQ(
      compare({with_resistances("a", {0.4, 0.2}), with_resistances("b", {0.5, 0.1})}, {}).verdict,
      Verdict::different);
  EXPECT_EQ(compare({with_resistances("a", {0.4, 0.2}), with_resistances("b", {0.5, 0.1})},
                    {.least = 1, .keys = {"T0"}})
                .verdict,
            Verdict::worse);
}

TEST(Compare, OfOtherTimeConstantsAloneIsDifferent) {
  ComparedRun one = with_resistances("a", {0.4});
  ComparedRun other = one;
  one.answer.figures["keys"]["T0"]["stages"][0]["time_constant"] = value_of(10, 0.1, "s");
  other.answer.figures["keys"]["T0"]["stages"][0]["time_constant"] = value_of(12, 0.1, "s");
  EXPECT_EQ(compare({one, other}, {}).verdict, Verdict::different);
}

TEST(Compare, LeavesTheNamesOfKeysAsTheyAre) {
  ComparedRun one{.name = "a", .answer = {}, .conditions = {}};
  ComparedRun other = one;
  one.answer.figures["keys"]["T_die"]["junction_resistance"] = value_of(0.4, 0.001, "K/W");
  other.answer.figures["keys"]["T_die"]["junction_resistance"] = value_of(0.3, 0.001, "K/W");
  EXPECT_THAT(compare({one, other}, {}).answer.sentences,
              ElementsAre(HasSubstr("T_die junction resistance is 25.0 % lower")));
}

TEST(Compare, DoesNotCountWhatIsBelowTheLeastDifference) {
  ComparedRun one{.name = "a", .answer = {}, .conditions = {}};
  ComparedRun other = one;
  one.answer.figures["keys"]["TC0D"]["mean"] = value_of(60, 0.01, "degC");
  other.answer.figures["keys"]["TC0D"]["mean"] = value_of(60.8, 0.01, "degC");
  EXPECT_EQ(compare({one, other}, {}).verdict, Verdict::same);  // less than 1 K
  EXPECT_EQ(compare({one, other}, {.least = 0.5, .keys = {}}).verdict, Verdict::worse);
}

// 2.5 standard errors, which chance gives once in 80: among 20 keys that is nothing.
TEST(Compare, AsksForMoreTheMoreIsCompared) {
  const ComparisonRules rules{.least = 0, .keys = {}};
  const double by = 2.5 * std::sqrt(2.0) * 0.02 / 1.96;
  std::vector<double> resistances(20, 1.0);
  const ComparedRun first = with_resistances("a", resistances);
  resistances[7] += by;
  EXPECT_EQ(compare({first, with_resistances("b", resistances)}, rules).verdict, Verdict::same);
  EXPECT_EQ(compare({with_resistances("a", {1}), with_resistances("b", {1 + by})}, rules).verdict,
            Verdict::worse);
}

TEST(Compare, ComparesEachWithTheFirstAndSaysTheWorst) {
  const Comparison comparison =
      compare({with_resistances("a", {0.4}), with_resistances("b", {0.3}),
               with_resistances("c", {0.5}), with_resistances("d", {0.4})},
              {});
  EXPECT_EQ(comparison.verdict, Verdict::worse);
  const ordered_json& runs = comparison.answer.figures["runs"];
  ASSERT_EQ(runs.size(), 3U);
  EXPECT_EQ(runs[0]["verdict"], "better");
  EXPECT_EQ(runs[1]["verdict"], "worse");
  EXPECT_EQ(runs[2]["verdict"], "same");
  EXPECT_EQ(comparison.answer.tables.size(), 3U);
}

TEST(Compare, LeavesOutWhatOneOfThemLacksOrCouldNotDecide) {
  ComparedRun one = with_resistances("a", {0.4, 0.2, 0.1});
  ComparedRun other = with_resistances("b", {0.4, 0.9});
  other.answer.figures["keys"]["T1"]["decided"] = false;
  const Comparison comparison = compare({one, other}, {});
  EXPECT_EQ(comparison.verdict, Verdict::same);
  EXPECT_THAT(comparison.answer.warnings,
              ElementsAre(HasSubstr("T1 could not be decided in the second"),
                          HasSubstr("T2 is only in the first")));

  const Comparison nothing = compare({with_resistances("a", {}), other}, {});
  EXPECT_EQ(nothing.verdict, Verdict::unknown);
  EXPECT_FALSE(nothing.answer.decided);
}

TEST(Compare, WarnsOfConditionsThatAreNotTheSame) {
  ComparedRun one = with_resistances("a", {0.4});
  ComparedRun other = with_resistances("b", {0.4});
  one.conditions = {{"machine", "x"}, {"hold of the fans", "maximum"}};
  other.conditions = {{"machine", "x"}, {"hold of the fans", ""}};
  EXPECT_THAT(compare({one, other}, {}).answer.warnings,
              ElementsAre("The hold of the fans is not the same: \"maximum\" in a, not known in b. "
                          "A difference may come from that."));
  other.conditions = one.conditions;
  EXPECT_THAT(compare({one, other}, {}).answer.warnings, IsEmpty());
}

/// A sweep over fan speed with a temperature at each.
ComparedRun swept(const std::string& name, const std::vector<std::pair<double, double>>& points) {
  ComparedRun run{.name = name, .answer = {}, .conditions = {}};
  run.answer.figures["over"] = "rpm";
  run.answer.figures["points"] = ordered_json::array();
  for (const auto& [setting, temperature] : points) {
    ordered_json point;
    point["setting"] = setting;
    point["keys"]["TC0D"] = value_of(temperature, 0.1, "degC");
    run.answer.figures["points"].push_back(point);
  }
  return run;
}

std::vector<std::string> names_of(const Comparison& comparison) {
  std::vector<std::string> names;
  for (const auto& difference : comparison.answer.figures["runs"][0]["differences"]) {
    names.push_back(difference["name"]);
  }
  return names;
}

TEST(Compare, ComparesThePointsThatBothHaveWhateverTheirPlace) {
  const Comparison comparison = compare(
      {swept("a", {{1000, 60}, {2000, 50}, {3000, 45}}), swept("b", {{500, 80}, {2000, 55}})}, {});
  EXPECT_EQ(comparison.verdict, Verdict::worse);
  EXPECT_THAT(names_of(comparison), ElementsAre("points[1].keys.TC0D"));
  EXPECT_THAT(comparison.answer.sentences,
              ElementsAre(HasSubstr("b is worse than a: TC0D at 2000 RPM is 5.0")));
  EXPECT_THAT(
      comparison.answer.warnings,
      ElementsAre(HasSubstr("what was measured at 1000 RPM, at 3000 RPM is only in the first"),
                  HasSubstr("what was measured at 500 RPM is only in the second")));
}

TEST(Compare, SaysThatTwoSweepsHaveNoSettingInCommon) {
  const Comparison comparison = compare({swept("a", {{1000, 60}}), swept("b", {{2000, 50}})}, {});
  EXPECT_EQ(comparison.verdict, Verdict::unknown);
  EXPECT_FALSE(comparison.answer.decided);
  EXPECT_THAT(comparison.answer.warnings,
              Contains(HasSubstr("have no setting in common. Make both with one plan (--plan)")));
}

TEST(Compare, PairsASettingThatComesTwiceInOrder) {
  const Comparison comparison =
      compare({swept("a", {{800, 60}, {800, 50}}), swept("b", {{800, 60}, {800, 50}})}, {});
  EXPECT_THAT(names_of(comparison), ElementsAre("points[0].keys.TC0D", "points[1].keys.TC0D"));
  EXPECT_EQ(comparison.verdict, Verdict::same);
}

TEST(Compare, SaysOnceAtWhichFrequenciesAKeyShowsNothing) {
  const auto run = [](const char* name, bool decided) {
    ComparedRun made{.name = name, .answer = {}, .conditions = {}};
    for (const double frequency_hz : {0.05, 0.5, 2.0}) {
      const bool there = decided || frequency_hz < 0.1;
      made.answer.figures["points"].push_back(
          {{"frequency", frequency_hz},
           {"keys",
            {{"TC0P",
              {{"decided", there},
               {"amplitude", value_of(0.02 / frequency_hz, 1e-5, "K/W")},
               {"phase", value_of(-100, 0.5, "deg")}}}}}});
    }
    return made;
  };
  const Comparison comparison = compare({run("a", false), run("b", true)}, {});
  EXPECT_EQ(comparison.verdict, Verdict::same);
  EXPECT_THAT(comparison.answer.warnings,
              ElementsAre("a and b: TC0P at 0.5 Hz, at 2 Hz could not be decided in the first of "
                          "the two runs, and left out."));
}

// 179 degrees behind and 179 ahead are 2 apart.
TEST(Compare, TakesPhasesTheShorterWayRound) {
  const auto run = [](double phase) {
    ComparedRun made{.name = "a", .answer = {}, .conditions = {}};
    made.answer.figures["points"].push_back(
        {{"frequency", 1}, {"keys", {{"TC0P", {{"phase", value_of(phase, 0.1, "deg")}}}}}});
    return made;
  };
  const Comparison comparison = compare({run(-179), run(179)}, {});
  const ordered_json& difference = comparison.answer.figures["runs"][0]["differences"][0];
  EXPECT_NEAR(difference["difference"]["value"], -2, 1e-9);
  EXPECT_EQ(difference["difference"]["unit"], "deg");
  EXPECT_EQ(comparison.verdict, Verdict::different);
}

TEST(Compare, ShowsAStartThatDiffersAndDecidesNothingByIt) {
  ComparedRun one = with_resistances("a", {0.4});
  ComparedRun other = with_resistances("b", {0.4});
  one.answer.figures["keys"]["T0"]["start_temperature"] = value_of(30, 0.1, "degC");
  other.answer.figures["keys"]["T0"]["start_temperature"] = value_of(30.4, 0.1, "degC");
  const Comparison alike = compare({one, other}, {});
  EXPECT_EQ(alike.verdict, Verdict::same);
  EXPECT_THAT(alike.answer.warnings, IsEmpty());
  EXPECT_EQ(std::get<std::string>(alike.answer.tables[0].rows[1][4]),
            "a condition: decides nothing");

  other.answer.figures["keys"]["T0"]["start_temperature"] = value_of(34, 0.1, "degC");
  const Comparison warmer = compare({one, other}, {});
  EXPECT_EQ(warmer.verdict, Verdict::same);
  EXPECT_THAT(warmer.answer.warnings, ElementsAre(HasSubstr("The T0 start temperature is 4.0")));
  const ordered_json& difference = warmer.answer.figures["runs"][0]["differences"][1];
  EXPECT_TRUE(difference["probability"].is_null());
  EXPECT_EQ(difference["counts"], false);
}

TEST(Compare, OfMoreWorkForEachJouleIsBetter) {
  const auto run = [](double each) {
    ComparedRun made{.name = "a", .answer = {}, .conditions = {}};
    made.answer.figures["points"].push_back(
        {{"setting", "bmix"}, {"operations_per_joule", value_of(each, 0.01 * each, "1/J")}});
    return made;
  };
  EXPECT_EQ(compare({run(1e9), run(1.1e9)}, {}).verdict, Verdict::better);
  EXPECT_EQ(compare({run(1e9), run(0.9e9)}, {}).verdict, Verdict::worse);
}

TEST(Compare, SaysThatOnlyOneOfThemWasAskedForTheStructure) {
  ComparedRun one = with_resistances("a", {0.4});
  const ComparedRun other = one;
  one.answer.figures["keys"]["T0"]["ladder"] = {{{"resistance", value_of(0.4, 0.1, "K/W")}}};
  EXPECT_THAT(compare({one, other}, {}).answer.warnings,
              ElementsAre(HasSubstr("T0 ladder is only in the first")));
}

// A paste that is worse by 0.05 K/W, between the first and the second rung.
TEST(Compare, SaysWhereTwoStructuresPart) {
  const auto run = [](const char* name, double paste, unsigned seed) {
    const FakeLadder ladder{{{.resistance = 0.1, .capacitance = 2},
                             {.resistance = paste, .capacitance = 20},
                             {.resistance = 0.2, .capacitance = 300}}};
    StepInput input = ladder.step(50, 400, 0.1);
    input.structure = true;
    std::mt19937_64 random(seed);
    disturb(input, 0.05, 0, random);
    return ComparedRun{.name = name, .answer = analyse_step(input), .conditions = {}};
  };
  const Comparison comparison = compare({run("old", 0.15, 1), run("new", 0.2, 2)}, {});
  EXPECT_EQ(comparison.verdict, Verdict::worse);
  EXPECT_THAT(
      comparison.answer.sentences,
      Contains(testing::ContainsRegex("From die outwards, old and new part after 0\\.(09|10)"
                                      "[0-9]* K/W: die ladder 2 resistance is 3[0-9.]+ % "
                                      "higher")));
  std::vector<std::string> titles;
  for (const Chart& chart : comparison.answer.charts) {
    titles.push_back(chart.title);
  }
  EXPECT_THAT(titles,
              ElementsAre("Thermal impedance", "Spectrum of time constants",
                          "Cumulative structure function", "Differential structure function"));
  std::vector<std::string> names;
  for (const Series& series : comparison.answer.charts[2].series) {
    names.push_back(series.name);
  }
  EXPECT_THAT(names, ElementsAre("old: die", "old: die ladder", "new: die", "new: die ladder"));
}

}  // namespace
}  // namespace lab
