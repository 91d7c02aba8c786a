#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "lab/analysis/comparison.h"
#include "lab/played/played.h"
#include "lab/questions/bode.h"
#include "lab/questions/sweep.h"

// Runs of one machine beside each other, and beside those of a machine whose fans turn slower.

namespace lab {
namespace {

using Json = nlohmann::ordered_json;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

ComparedRun compared(const std::string& name, const Question& question, const lab::Run& run) {
  return {.name = name, .answer = question.analyse(run), .conditions = {}};
}

lab::Run noisy(lab::Run run, unsigned seed) {
  std::mt19937_64 random(seed);
  disturb(run, "TC0D", 0.2, 0.125, random);
  disturb(run, "TC0P", 0.2, 0.125, random);
  disturb(run, "PC0C", 0.5, 0, random);
  return run;
}

std::vector<std::string> names_in(const Comparison& comparison) {
  std::vector<std::string> names;
  for (const Json& difference : comparison.answer.figures["runs"][0]["differences"]) {
    names.push_back(difference["name"]);
  }
  return names;
}

lab::Run swings(const std::vector<double>& frequencies_hz, int rpm = 0) {
  BodeWishes wishes;
  wishes.frequencies_hz = frequencies_hz;
  Plan plan = bode_plan(wishes);
  if (rpm > 0) {
    plan.fans = {Fans::Hold::speed, rpm};
  }
  return played(plan);
}

ComparedRun bode(const std::string& name, const lab::Run& run) {
  return compared(name, Bode(), run);
}

TEST(PlayedCompare, OfTheSameResponseTwiceSaysSameIn19Of20Pairs) {
  const lab::Run run = swings({0.05, 0.2, 1});
  int same = 0;
  for (unsigned pair = 0; pair < 20; ++pair) {
    const ComparedRun one = bode("one", noisy(run, 2 * pair + 1));
    const ComparedRun other = bode("other", noisy(run, 2 * pair + 2));
    same += compare({one, other}, {.least = 0, .keys = {}}).verdict == Verdict::same ? 1 : 0;
  }
  EXPECT_GE(same, 19);
}

// The sink swings against less conductance: at low frequency more, and at high frequency alike.
TEST(PlayedCompare, FindsTheFrequenciesAtWhichSlowerFansCoolLess) {
  const Comparison comparison = compare(
      {bode("fast", swings({0.005, 0.05, 1})), bode("slow", swings({0.005, 0.05, 1}, 1500))}, {});
  EXPECT_EQ(comparison.verdict, Verdict::worse);
  ASSERT_FALSE(comparison.answer.sentences.empty());
  EXPECT_THAT(comparison.answer.sentences[0],
              AllOf(HasSubstr("slow is worse than fast: TC0D amplitude at 0.005 Hz is"),
                    testing::Not(HasSubstr("TC0D amplitude at 1 Hz"))));
  EXPECT_EQ(comparison.answer.charts.size(), 2U);
}

TEST(PlayedCompare, ComparesTheFrequenciesThatBothPlayed) {
  const Comparison comparison =
      compare({bode("one", swings({0.05, 0.2, 1})), bode("other", swings({0.2, 0.7}))}, {});
  EXPECT_EQ(comparison.verdict, Verdict::same);
  EXPECT_THAT(comparison.answer.warnings,
              AllOf(Contains(HasSubstr("at 0.05 Hz, at 1 Hz is only in the first")),
                    Contains(HasSubstr("at 0.7 Hz is only in the second"))));
  EXPECT_THAT(names_in(comparison), Contains("points[1].keys.TC0D.amplitude"));

  const Comparison nothing =
      compare({bode("one", swings({0.05, 1})), bode("other", swings({0.06, 0.9}))},
              {.least = 1, .keys = {"TC0D"}});
  EXPECT_THAT(nothing.answer.warnings, Contains(HasSubstr("have no setting in common")));
}

lab::Run swept(const std::vector<std::string>& words) {
  Sweep sweep;
  CLI::App app;
  sweep.add_options(app);
  std::vector<std::string> reversed(words.rbegin(), words.rend());
  app.parse(reversed);
  return played(sweep.plan());
}

ComparedRun sweep(const std::string& name, const lab::Run& run) {
  return compared(name, Sweep(), run);
}

TEST(PlayedCompare, OfTheSameSweepTwiceSaysSameIn19Of20Pairs) {
  // In another order each time, as it would be.
  const lab::Run one = swept({"duty", "--at", "0,0.5,1", "--seed", "1"});
  const lab::Run other = swept({"duty", "--at", "0,0.5,1", "--seed", "2"});
  int same = 0;
  for (unsigned pair = 0; pair < 20; ++pair) {
    const Comparison comparison = compare(
        {sweep("one", noisy(one, 2 * pair + 1)), sweep("other", noisy(other, 2 * pair + 2))},
        {.least = 0, .keys = {}});
    same += comparison.verdict == Verdict::same ? 1 : 0;
  }
  EXPECT_GE(same, 19);
}

TEST(PlayedCompare, FindsTheSpeedsAtWhichAHotterLoadIsHotter) {
  const Comparison comparison = compare(
      {sweep("half", swept({"rpm", "--at", "1500,3000,maximum", "--duty", "0.5", "--in-order"})),
       sweep("more", swept({"rpm", "--at", "3000,1500", "--duty", "0.6", "--in-order"}))},
      {.least = 1, .keys = {"TC0D", "TC0P"}});
  EXPECT_EQ(comparison.verdict, Verdict::worse);
  EXPECT_THAT(names_in(comparison),
              AllOf(Contains("points[0].keys.TC0D"), Contains("points[1].keys.TC0D")));
  EXPECT_THAT(comparison.answer.sentences[0], HasSubstr("TC0D at 1500 RPM is"));
  EXPECT_THAT(comparison.answer.warnings, Contains(HasSubstr("at maximum is only in the first")));
}

TEST(PlayedCompare, OfASweepWithItselfHasNothingToWarnOf) {
  const ComparedRun run = sweep("one", swept({"duty", "--at", "0,0.5,1", "--seed", "1"}));
  const Comparison comparison = compare({run, run}, {});
  EXPECT_EQ(comparison.verdict, Verdict::same);
  EXPECT_THAT(comparison.answer.warnings, IsEmpty());
  EXPECT_FALSE(comparison.answer.charts.empty());
}

}  // namespace
}  // namespace lab
