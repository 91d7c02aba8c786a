#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "lab/analysis/step.h"
#include "lab/fakes/fake_two_nodes.h"
#include "lab/step_figures.h"

// What data cannot tell, and what the analysis says of it.

namespace lab {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(StepOfPoorData, AConstantPowerDecidesNothing) {
  const Answer answer = analyse_step(TwoNodes().record([](double) { return 1; }, 60, 0.1));
  EXPECT_FALSE(answer.decided);
  EXPECT_THAT(answer.sentences, ElementsAre(HasSubstr("The power stayed at 85.3 W throughout")));
  EXPECT_TRUE(answer.figures["keys"].empty());
}

TEST(StepOfPoorData, ARecordShorterThanTheSlowTimeConstantDecidesNothing) {
  StepInput input = TwoNodes().record(one_step, 25, 0.1);
  std::mt19937_64 random(4);
  disturb(input, 0.1, 0, random);
  const Answer answer = analyse_step(input);
  EXPECT_FALSE(answer.decided);
  EXPECT_EQ(resistance(answer, "TC0D").high, INFINITY);
  EXPECT_THAT(answer.warnings,
              testing::Contains(HasSubstr("It cannot be told from so short a record")));
}

TEST(StepOfPoorData, AStageThatIsHardlySeenLeavesTheResistanceOpen) {
  for (const double heated_s : {2., 3., 4., 6., 10.}) {
    StepInput input = TwoNodes().record(one_step, 5 + heated_s, 0.1);
    std::mt19937_64 random(4);
    disturb(input, 0.01, 0, random);
    const Answer answer = analyse_step(input);
    EXPECT_FALSE(answer.figures["keys"]["TC0D"]["decided"]) << heated_s;
    EXPECT_EQ(resistance(answer, "TC0D").high, INFINITY) << heated_s;
  }
}

TEST(StepOfPoorData, FansThatChangedTheirSpeedDecideNothing) {
  StepInput input = TwoNodes().record(one_step, 175, 0.1);
  std::vector<double> speeds(input.time_s.size(), 3000);
  std::fill(speeds.begin() + 1000, speeds.end(), 3500);
  input.beside = {{"F0Ac", "RPM", "", speeds}};
  const Answer answer = analyse_step(input);
  EXPECT_FALSE(answer.decided);
  EXPECT_EQ(resistance(answer, "TC0D").low, -INFINITY);
  EXPECT_EQ(resistance(answer, "TC0D").high, INFINITY);
  EXPECT_THAT(answer.warnings, ElementsAre(HasSubstr("F0Ac ran between 3000 and 3500 RPM")));
}

TEST(StepOfPoorData, FansThatComeToTheirSpeedBeforeTheHeatAreNotBlamed) {
  StepInput input = TwoNodes().record(one_step, 30, 0.1);
  std::vector<double> speeds(input.time_s.size(), 5200);
  for (std::size_t at = 0; at < 20; ++at) {
    speeds[at] = 3000 + 100 * static_cast<double>(at);
  }
  input.beside = {{"F0Ac", "RPM", "", speeds}};
  EXPECT_THAT(analyse_step(input).warnings, testing::Not(testing::Contains(HasSubstr("F0Ac"))));
}

TEST(StepOfPoorData, WithoutPowerResultsAreForTheWholeLoad) {
  StepInput input = TwoNodes().record(one_step, 175, 0.1);
  input.heat_is_power = false;
  input.heat_name = "delivered";
  for (double& heat : input.heat) {
    heat = heat > 45 ? 1 : 0;
  }
  const Answer answer = analyse_step(input);
  EXPECT_EQ(resistance(answer, "TC0D").unit, "K");
  EXPECT_NEAR(resistance(answer, "TC0D").value, 31.4, 0.5);
  EXPECT_THAT(answer.sentences[0], HasSubstr("K from no load to full load"));
  EXPECT_THAT(answer.warnings, testing::Contains(HasSubstr("No power was measured")));
  EXPECT_TRUE(answer.figures.contains("load"));
}

TEST(StepOfPoorData, SaysWhatElseChanged) {
  StepInput input = TwoNodes().record(one_step, 175, 0.1);
  const std::size_t count = input.time_s.size();
  input.beside = {{"F0Ac", "RPM", "", std::vector<double>(count, 3000)},
                  {"asked", "", "", std::vector<double>(count, 1)},
                  {"delivered", "", "", std::vector<double>(count, 0.8)},
                  {"others", "", "", std::vector<double>(count, 0.3)}};
  std::fill_n(input.beside[0].values.begin(), count / 2, 1000);
  const Answer answer = analyse_step(input);
  EXPECT_THAT(answer.warnings, ElementsAre(HasSubstr("F0Ac ran between 1000 and 3000 RPM"),
                                           HasSubstr("Only 80 % of the load"),
                                           HasSubstr("Other programs took up to 30 %")));
}

TEST(StepOfPoorData, ATemperatureThatDoesNotFollowIsNotDecided) {
  StepInput input = TwoNodes().record(one_step, 175, 0.1);
  std::mt19937_64 random(5);
  std::normal_distribution<double> noise(25, 0.2);
  for (double& value : input.temperatures[1].values) {
    value = noise(random);
  }
  const Answer answer = analyse_step(input);
  EXPECT_TRUE(answer.figures["keys"]["TC0D"]["decided"]);
  EXPECT_FALSE(answer.figures["keys"]["TC0P"]["decided"]);
  std::fill(input.temperatures[1].values.begin(), input.temperatures[1].values.end(), 25);
  EXPECT_THAT(analyse_step(input).warnings, testing::Contains(HasSubstr("TC0P never changed")));
}

TEST(StepOfPoorData, ASlowSensorsRepetitionsAreNotMeasurements) {
  const TwoNodes machine;
  StepInput input = machine.record(one_step, 175, 0.1);
  std::mt19937_64 random(6);
  disturb(input, 0.2, 0.125, random);
  for (Column& column : input.temperatures) {
    for (std::size_t at = 0; at < column.values.size(); ++at) {
      column.values[at] = column.values[at - at % 20];
    }
  }
  const Answer answer = analyse_step(input);
  EXPECT_NEAR(answer.figures["keys"]["TC0D"]["sensor"]["update_interval"].get<double>(), 2, 0.05);
  EXPECT_NEAR(resistance(answer, "TC0D").value, machine.die_k_w(), 0.02 * machine.die_k_w());
  EXPECT_LE(resistance(answer, "TC0D").low, machine.die_k_w());
  EXPECT_GE(resistance(answer, "TC0D").high, machine.die_k_w());
}

TEST(StepOfPoorData, APowerThatWasConstantFromTheFirstLineTellsTwoStages) {
  StepInput input;
  Column die{.name = "die", .unit = "degC", .source = "", .values = {}};
  for (int at = 0; at <= 1500; ++at) {
    const double time_s = 0.1 * at;
    input.time_s.push_back(time_s);
    input.heat.push_back(at == 0 ? 0 : 20);
    die.values.push_back(
        25 + 20 * (0.25 * (1 - std::exp(-time_s / 0.5)) + 0.18 * (1 - std::exp(-time_s / 28))));
  }
  input.temperatures = {die};
  std::mt19937_64 random(1);
  for (const double noise : {0.0, 0.05}) {
    disturb(input, noise, 0, random);
    const Answer answer = analyse_step(input);
    EXPECT_TRUE(answer.decided) << noise;
    ASSERT_EQ(stages(answer, "die"), 2U) << noise;
    EXPECT_NEAR(resistance(answer, "die").value, 0.43, 0.005);
    EXPECT_NEAR(time_constant(answer, "die", 0).value, 0.5, 0.02);
    EXPECT_NEAR(time_constant(answer, "die", 1).value, 28, 0.6);
  }
}

TEST(StepOfPoorData, DropoutsOfASensorAreLeftOutAndSaid) {
  const TwoNodes machine;
  StepInput input = machine.record(one_step, 175, 0.1);
  for (std::size_t at = 100; at < 900; at += 100) {
    input.temperatures[0].values[at] = 0;
    input.temperatures[0].values[at + 1] = -127;
  }
  input.heat[300] = 0;
  const Answer answer = analyse_step(input);
  EXPECT_NEAR(resistance(answer, "TC0D").value, machine.die_k_w(), 1e-3);
  EXPECT_THAT(answer.warnings, ElementsAre(HasSubstr("1 value of " + input.heat_name),
                                           HasSubstr("16 values of TC0D were left out: 0, or")));
}

TEST(StepOfPoorData, ReadingsThatAreMissingAreCounted) {
  StepInput input = TwoNodes().record(one_step, 175, 0.1);
  for (std::size_t at = 0; at < input.time_s.size(); at += 10) {
    input.temperatures[0].values[at] = NAN;
  }
  EXPECT_THAT(analyse_step(input).warnings,
              ElementsAre(HasSubstr(" readings of TC0D are missing")));
}

}  // namespace
}  // namespace lab
