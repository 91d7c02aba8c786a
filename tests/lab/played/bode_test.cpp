#include "lab/questions/bode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <complex>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "lab/analysis/aliases.h"
#include "lab/plan/plan_error.h"
#include "lab/played/played.h"

namespace lab {
namespace {

struct Truth {
  double amplitude;
  double phase;
};

// docs/simulated-machine.md, Waves: every fan at its maximum.
Truth truth_at(double frequency_hz) {
  const std::complex<double> s(0, 2 * 3.14159265358979323846 * frequency_hz);
  const std::complex<double> z = 1.0 / (s * 2.0 + 4.0 - 16.0 / (4.0 + 5.5 + s * 150.0));
  return {std::abs(z), std::arg(z) * 180 / 3.14159265358979323846};
}

const std::vector<double> kDocumented{0.02, 0.05, 0.1, 0.2, 0.5, 1};

Plan documented_plan(bool fast) {
  BodeWishes wishes;
  wishes.frequencies_hz = kDocumented;
  wishes.fast = fast;
  return bode_plan(wishes);
}

void expect_the_table(const lab::Run& run) {
  const Answer answer = Bode().analyse(run);
  EXPECT_TRUE(answer.decided);
  ASSERT_EQ(answer.figures["points"].size(), kDocumented.size());
  for (const auto& point : answer.figures["points"]) {
    const double frequency_hz = point["frequency"];
    const Truth truth = truth_at(frequency_hz);
    const auto& die = point["keys"]["TC0D"];
    EXPECT_NEAR(die["amplitude"]["value"], truth.amplitude, 0.03 * truth.amplitude) << frequency_hz;
    EXPECT_NEAR(die["phase"]["value"], truth.phase, 2) << frequency_hz;
    EXPECT_LE(die["amplitude"]["low"], truth.amplitude) << frequency_hz;
    EXPECT_GE(die["amplitude"]["high"], truth.amplitude) << frequency_hz;
    EXPECT_LE(die["phase"]["low"], truth.phase) << frequency_hz;
    EXPECT_GE(die["phase"]["high"], truth.phase) << frequency_hz;
    EXPECT_NEAR(die["predicted"]["amplitude"], truth.amplitude, 0.02 * truth.amplitude)
        << frequency_hz;
  }
  EXPECT_NEAR(answer.figures["power"]["window"]["value"], 0.1, 0.002);
  EXPECT_LE(answer.figures["power"]["window"]["low"], 0.1);
  EXPECT_GE(answer.figures["power"]["window"]["high"], 0.1);
  EXPECT_EQ(answer.charts.size(), 2U);
}

TEST(PlayedBode, FindsTheDocumentedTableOneByOne) {
  expect_the_table(played(documented_plan(false)));
}

TEST(PlayedBode, FindsTheDocumentedTableAtOnce) {
  const Plan plan = documented_plan(true);
  EXPECT_EQ(plan.phases.back().drive.shape, Drive::Shape::sines);
  EXPECT_LT(longest_s(plan), longest_s(documented_plan(false)));
  expect_the_table(played(plan));
}

// The key's estimates at a frequency of the run.
struct Told {
  Estimate amplitude;
  Estimate phase;
  bool decided = false;
};

Told told(const Answer& answer, std::size_t point, const char* key) {
  const auto& figures = answer.figures["points"][point]["keys"][key];
  const auto estimate = [&](const char* name) {
    const auto& json = figures[name];
    return Estimate{.value = json["value"], .low = json["low"], .high = json["high"], .unit = {}};
  };
  return {.amplitude = estimate("amplitude"),
          .phase = estimate("phase"),
          .decided = figures["decided"]};
}

Plan short_plan(bool fast) {
  BodeWishes wishes;
  wishes.frequencies_hz = {0.05, 0.2, 0.8};
  wishes.fast = fast;
  wishes.until_settled = false;
  wishes.settle_s = 60;
  return bode_plan(wishes);
}

// Repetitions of one run with noise on a sensor of coarse steps: how often an interval holds the
// truth, for each frequency amplitude and phase.
void expect_coverage(bool fast, double noise, double step) {
  Plan plan = short_plan(fast);
  plan.predicted["TC0D"] = {{.resistance = 0.4318, .tau_s = 10}};  // no time for a fit each round
  const lab::Run whole = played(plan);
  std::mt19937_64 random(7);
  constexpr int kRounds = 40;
  int held = 0;
  int asked = 0;
  for (int round = 0; round < kRounds; ++round) {
    lab::Run run = whole;
    disturb(run, "TC0D", noise, step, random);
    const Answer answer = Bode().analyse(run);
    for (std::size_t point = 0; point < answer.figures["points"].size(); ++point) {
      const Truth truth = truth_at(answer.figures["points"][point]["frequency"]);
      const Told die = told(answer, point, "TC0D");
      asked += 2;
      held += die.amplitude.low <= truth.amplitude && truth.amplitude <= die.amplitude.high ? 1 : 0;
      held += die.phase.low <= truth.phase && truth.phase <= die.phase.high ? 1 : 0;
    }
  }
  ASSERT_EQ(asked, 6 * kRounds);
  EXPECT_GE(held, 0.92 * asked) << noise << ' ' << step;
}

TEST(PlayedBode, CoversTheTruthInNoise) {
  expect_coverage(false, 0.3, 0);
}

TEST(PlayedBode, CoversTheTruthOnASensorOfOneDegree) {
  expect_coverage(false, 0.1, 1);
}

TEST(PlayedBode, CoversTheTruthOnASensorOfOneDegreeAtOnce) {
  expect_coverage(true, 0.3, 1);
}

TEST(PlayedBode, SaysAboveWhichFrequencyASlowSensorShowsNothing) {
  lab::Run run = played(short_plan(false));
  slow_down(run, "TC0D", static_cast<std::size_t>(run.plan.rate_hz));
  const Answer answer = Bode().analyse(run);
  EXPECT_TRUE(told(answer, 1, "TC0D").decided);
  EXPECT_FALSE(told(answer, 2, "TC0D").decided);
  const Truth truth = truth_at(0.2);
  EXPECT_NEAR(told(answer, 1, "TC0D").amplitude.value, truth.amplitude, 0.03 * truth.amplitude);
  EXPECT_LE(told(answer, 1, "TC0D").phase.low, truth.phase);
  EXPECT_GE(told(answer, 1, "TC0D").phase.high, truth.phase);
  EXPECT_THAT(answer.warnings, testing::Contains(testing::AllOf(
                                   testing::HasSubstr("TC0D: its sensor measures only every"),
                                   testing::HasSubstr("it shows nothing of a swing"))));
}

TEST(PlayedBode, SaysFromWhereOnASwingIsBelowTheStepOfASensor) {
  lab::Run run = played(short_plan(false));
  std::mt19937_64 random(7);
  disturb(run, "TC0P", 0, 1, random);
  const Answer answer = Bode().analyse(run);
  EXPECT_THAT(answer.warnings,
              testing::Contains(testing::AllOf(
                  testing::HasSubstr("TC0P: from "),
                  testing::HasSubstr("it swings by less than the step of its sensor, 1."))));
}

TEST(PlayedBode, SaysThatTheFansWereNotHeld) {
  Plan plan = short_plan(false);
  plan.fans.hold = Fans::Hold::automatic;
  const Answer answer = Bode().analyse(played(plan));
  EXPECT_THAT(answer.warnings,
              testing::Contains(testing::HasSubstr("Hold the fans at one speed.")));
}

// Too brief for the fans to come to speed, and for the slow stages to be seen.
Plan hasty_plan() {
  BodeWishes wishes;
  wishes.frequencies_hz = {0.5, 1};
  wishes.fast = true;
  wishes.idle_s = 1;
  wishes.until_settled = false;
  wishes.settle_s = 5;
  wishes.least_s = 10;
  return bode_plan(wishes);
}

TEST(PlayedBode, AsksNoResponseOfFansThatAreHeld) {
  lab::Run run = played(hasty_plan());
  run.info.fans = "held at their maximum";
  const Answer answer = Bode().analyse(run);
  EXPECT_THAT(answer.sentences, testing::Contains("The fans were held, so they have no response."));
  EXPECT_THAT(answer.sentences, testing::Each(testing::Not(testing::HasSubstr("F0Ac"))));
  for (const ResultTable& table : answer.tables) {
    EXPECT_NE(table.title, "F0Ac");
  }
  EXPECT_THAT(answer.warnings, testing::Each(testing::Not(testing::AllOf(
                                   testing::HasSubstr("F0Ac"), testing::HasSubstr("--depth")))));
  EXPECT_THAT(answer.warnings, testing::Contains(testing::AllOf(testing::StartsWith("F0Ac ran"),
                                                                testing::HasSubstr("--idle"))));
}

TEST(PlayedBode, SaysWhyTheStagesOfAShortStepAreFarOff) {
  const Answer answer = Bode().analyse(played(hasty_plan()));
  EXPECT_THAT(answer.sentences, testing::Contains(testing::HasSubstr("That step is the 6")));
  const Answer settled = Bode().analyse(played(short_plan(false)));
  EXPECT_THAT(settled.sentences, testing::Each(testing::Not(testing::HasSubstr("That step is"))));
}

TEST(PlayedBode, SetsTheCurveOfAnotherStepBesideThePoints) {
  Plan plan = short_plan(false);
  plan.predicted["TC0D"] = {{.resistance = 0.4318, .tau_s = 10}};
  plan.predicted_from = "old";
  const Answer answer = Bode().analyse(played(plan));
  EXPECT_EQ(answer.figures["predicted_from"], "old");
  const double predicted = answer.figures["points"][0]["keys"]["TC0D"]["predicted"]["amplitude"];
  EXPECT_NEAR(predicted, 0.4318 / std::hypot(1.0, 3.14159265358979), 1e-9);
}

TEST(PlayedBode, OfARunWithoutPowerIsForFullLoad) {
  Plan plan = short_plan(false);
  plan.keys = {"TC0D"};
  const Answer answer = Bode().analyse(played(plan));
  EXPECT_TRUE(answer.decided);
  EXPECT_EQ(answer.figures["points"][0]["keys"]["TC0D"]["amplitude"]["unit"], "K");
  // 70 W of full load, and a little leakage.
  const Truth truth = truth_at(0.05);
  EXPECT_NEAR(told(answer, 0, "TC0D").amplitude.value, 70 * truth.amplitude,
              0.05 * 70 * truth.amplitude);
  EXPECT_THAT(answer.warnings, testing::Contains(testing::HasSubstr("No power was measured")));
}

TEST(PlayedBode, SaysThatACarrierAliases) {
  Plan plan = short_plan(false);
  plan.carrier_hz = 50;
  plan.rate_hz = 10;
  const Answer answer = Bode().analyse(played(plan));
  EXPECT_THAT(answer.warnings,
              testing::Contains(testing::HasSubstr("Leave --carrier and --rate to the plan.")));
}

TEST(PlayedBode, SaysNothingOfARunWithoutASwing) {
  Plan plan = short_plan(false);
  plan.phases.resize(2);
  EXPECT_FALSE(Bode().analyse(played(plan)).decided);
}

TEST(BodePlan, OfNinePointsIsKnownBeforehand) {
  BodeWishes wishes;
  wishes.from_hz = 0.01;
  wishes.points = 9;
  const Plan one_by_one = bode_plan(wishes);
  ASSERT_EQ(one_by_one.phases.size(), 11U);
  EXPECT_EQ(one_by_one.phases[2].drive.frequency_hz, 0.01);
  EXPECT_EQ(one_by_one.phases.back().drive.frequency_hz, 2);
  for (std::size_t at = 2; at < one_by_one.phases.size(); ++at) {
    const Phase& phase = one_by_one.phases[at];
    EXPECT_GE(phase.duration_s * phase.drive.frequency_hz, 3.5);
    EXPECT_GE(nearest_alias({.frequencies_hz = {phase.drive.frequency_hz},
                             .base_hz = phase.drive.frequency_hz,
                             .length_s = phase.duration_s},
                            {.carrier_hz = one_by_one.carrier_hz, .rate_hz = one_by_one.rate_hz}),
              10);
  }
  EXPECT_GE(one_by_one.carrier_hz, 100);
  EXPECT_GE(one_by_one.rate_hz, 20);
  wishes.fast = true;
  EXPECT_LT(longest_s(bode_plan(wishes)), 0.8 * longest_s(one_by_one));
}

TEST(BodePlan, TakesAllFrequenciesAtOnceOnlyIfThatSavesTime) {
  BodeWishes wishes;
  wishes.frequencies_hz = {1};
  wishes.fast = true;
  EXPECT_EQ(bode_plan(wishes).phases.back().drive.shape, Drive::Shape::sinusoid);
}

TEST(BodePlan, OfASumStaysWithinItsDepth) {
  BodeWishes wishes;
  wishes.from_hz = 0.01;
  wishes.points = 9;
  wishes.fast = true;
  const Drive drive = bode_plan(wishes).phases.back().drive;
  ASSERT_EQ(drive.sines.size(), 9U);
  double most = 0;
  for (double time_s = 0; time_s < 100; time_s += 0.01) {
    double sum = 0;
    for (const Sine& sine : drive.sines) {
      sum += sine.amplitude * std::cos(2 * 3.14159265358979 * sine.frequency_hz * time_s +
                                       sine.degrees / 180 * 3.14159265358979);
    }
    most = std::max(most, std::abs(sum));
  }
  EXPECT_LE(most, 0.405);
  EXPECT_GE(most, 0.36);
  EXPECT_GE(drive.sines[0].amplitude, 0.065);
}

TEST(BodePlan, MovesFrequenciesToMultiplesOfOne) {
  const Harmonic moved = harmonic({0.02, 0.0503, 1}, 0.02);
  EXPECT_DOUBLE_EQ(moved.base_hz, 0.01);
  EXPECT_DOUBLE_EQ(moved.frequencies_hz[1], 0.05);
  EXPECT_THROW(harmonic({1, 1.001}, 0.02), PlanError);
}

TEST(BodePlan, RefusesAFolderInPlaceOfAResult) {
  const std::filesystem::path place = testing::TempDir() + "beside." + std::to_string(getpid());
  std::filesystem::create_directories(place / "result.json");
  Bode bode;
  CLI::App app;
  bode.add_options(app);
  app.parse(std::vector<std::string>{place.string(), "--beside"});
  EXPECT_THROW(bode.plan(), PlanError);
  std::filesystem::remove_all(place);
}

TEST(BodePlan, RefusesASwingBeyondFullLoad) {
  BodeWishes wishes;
  wishes.duty = 0.8;
  EXPECT_THROW(bode_plan(wishes), PlanError);
}

}  // namespace
}  // namespace lab
