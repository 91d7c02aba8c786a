#include "lab/analysis/step.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "lab/fakes/fake_two_nodes.h"
#include "lab/step_figures.h"
#include "support/sanitized.h"

namespace lab {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(Step, FindsTheMachineThroughItsLeakage) {
  const TwoNodes machine;
  const Answer answer = analyse_step(machine.record(one_step, 175, 0.1));
  EXPECT_TRUE(answer.decided);
  EXPECT_NEAR(resistance(answer, "TC0D").value, machine.die_k_w(), 1e-4);
  EXPECT_NEAR(resistance(answer, "TC0P").value, machine.sink_k_w(), 1e-4);
  ASSERT_EQ(stages(answer, "TC0D"), 2U);
  EXPECT_NEAR(time_constant(answer, "TC0D", 0).value, machine.fast_s(), 1e-3);
  EXPECT_NEAR(time_constant(answer, "TC0D", 1).value, machine.slow_s(), 1e-2);
  EXPECT_NEAR(estimate(answer.figures["keys"]["TC0D"]["stages"][0]["resistance"]).value,
              machine.die_fast_k_w(), 1e-4);
  EXPECT_THAT(answer.warnings, IsEmpty());
  EXPECT_EQ(resistance(answer, "TC0D").unit, "K/W");
}

TEST(Step, SaysItInASentence) {
  const TwoNodes machine;
  StepInput input = machine.record(one_step, 175, 0.1);
  std::mt19937_64 random(1);
  disturb(input, 0.3, 0, random);
  const Answer answer = analyse_step(input);
  EXPECT_THAT(
      answer.sentences,
      ElementsAre(testing::MatchesRegex(
                      "TC0D rises 0\\.43[0-9]+ K for each watt \\(95 %: 0\\.43[0-9]* to "
                      "0\\.43[0-9]*\\), with time constants of 0\\.[0-9]+ s and 2[78]\\.[0-9] "
                      "s\\."),
                  HasSubstr("TC0P rises 0.18")));
  ASSERT_EQ(answer.tables.size(), 2U);
  for (const ResultTable& table : answer.tables) {
    for (const auto& row : table.rows) {
      EXPECT_EQ(row.size(), table.head.size());
    }
  }
  ASSERT_EQ(answer.charts.size(), 2U);
  EXPECT_EQ(answer.charts[0].series.size(), 4U);
  for (const Series& series : answer.charts[0].series) {
    ASSERT_EQ(series.x.size(), series.y.size());
    EXPECT_TRUE(std::is_sorted(series.x.begin(), series.x.end()));
  }
}

TEST(Step, ChartsTheMeasuredImpedanceAlongTheFittedOne) {
  const TwoNodes machine;
  const Answer answer = analyse_step(machine.record(one_step, 175, 0.1));
  const Series& measured = answer.charts[0].series[1];
  const double fast = machine.die_fast_k_w();
  const double slow = machine.die_k_w() - fast;
  ASSERT_GT(measured.x.size(), 20U);
  for (std::size_t at = 0; at < measured.x.size(); ++at) {
    const double time_s = measured.x[at];
    EXPECT_NEAR(measured.y[at],
                fast * -std::expm1(-time_s / machine.fast_s()) +
                    slow * -std::expm1(-time_s / machine.slow_s()),
                0.01);
  }
}

// How often what is told holds the truth.
struct Score {
  int within_3_percent = 0;
  int in_interval = 0;

  void add(const Estimate& estimate, double truth) {
    within_3_percent += std::abs(estimate.value / truth - 1) <= 0.03;
    in_interval += estimate.low <= truth && truth <= estimate.high;
  }
};

constexpr int kRepetitions = kSanitized ? 10 : 100;

struct Scores {
  Score resistance;
  Score fast;
  Score slow;

  Scores(const StepInput& input, double noise, double step, int repetitions) {
    const TwoNodes machine;
    std::mt19937_64 random(1);
    for (int repetition = 0; repetition < repetitions; ++repetition) {
      StepInput disturbed = input;
      disturbed.temperatures.pop_back();
      disturb(disturbed, noise, step, random);
      const Answer answer = analyse_step(disturbed);
      resistance.add(lab::resistance(answer, "TC0D"), machine.die_k_w());
      if (stages(answer, "TC0D") == 2) {
        fast.add(time_constant(answer, "TC0D", 0), machine.fast_s());
        slow.add(time_constant(answer, "TC0D", 1), machine.slow_s());
      }
    }
  }
};

TEST(Step, IntervalsHoldTheTruthInNineOfTenNoisyRecords) {
  const Scores scores(TwoNodes().record(one_step, 175, 0.1), 0.3, 0, kRepetitions);
  EXPECT_EQ(scores.resistance.within_3_percent, kRepetitions);
  EXPECT_EQ(scores.slow.within_3_percent, kRepetitions);
  EXPECT_GE(scores.fast.within_3_percent, 0.9 * kRepetitions);
  EXPECT_GE(scores.resistance.in_interval, 0.9 * kRepetitions);
  EXPECT_GE(scores.fast.in_interval, 0.9 * kRepetitions);
  EXPECT_GE(scores.slow.in_interval, 0.9 * kRepetitions);
}

// One step response on such a sensor knows the fast time constant to 3 % in about nine cases of
// ten: about twenty samples in it are all that tell of half a second.
TEST(Step, IntervalsHoldTheTruthInNineOfTenRecordsOfAOneDegreeSensor) {
  const Scores scores(TwoNodes().record(one_step, 175, 0.1), 0.3, 1, kRepetitions);
  EXPECT_EQ(scores.resistance.within_3_percent, kRepetitions);
  EXPECT_GE(scores.slow.within_3_percent, 0.95 * kRepetitions);
  EXPECT_GE(scores.fast.within_3_percent, 0.8 * kRepetitions);
  EXPECT_GE(scores.resistance.in_interval, 0.9 * kRepetitions);
  EXPECT_GE(scores.fast.in_interval, 0.9 * kRepetitions);
  EXPECT_GE(scores.slow.in_interval, 0.9 * kRepetitions);
}

TEST(Step, RepeatedPeriodsTellTheFastTimeConstantOnAOneDegreeSensor) {
  const auto periods = [](double time_s) {
    return time_s >= 5 && std::fmod(time_s - 5, 60) < 30 ? 1.0 : 0.0;
  };
  const int repetitions = std::max(5, kRepetitions / 10);
  const Scores scores(TwoNodes().record(periods, 365, 0.1), 0.3, 1, repetitions);
  EXPECT_EQ(scores.resistance.within_3_percent, repetitions);
  EXPECT_EQ(scores.fast.within_3_percent, repetitions);
  EXPECT_EQ(scores.slow.within_3_percent, repetitions);
}

TEST(Step, GivesTheSameNumbersEachTime) {
  StepInput input = TwoNodes().record(one_step, 175, 0.1);
  std::mt19937_64 random(2);
  disturb(input, 0.2, 1, random);
  EXPECT_EQ(analyse_step(input).figures.dump(), analyse_step(input).figures.dump());
}

TEST(Step, CopesWithUnevenInstantsAndGaps) {
  const TwoNodes machine;
  const StepInput even = machine.record(one_step, 175, 0.05);
  StepInput input;
  input.heat_name = even.heat_name;
  input.temperatures = {{"TC0D", "degC", "", {}}, {"TC0P", "degC", "", {}}};
  double energy = 0;
  std::size_t last = 0;
  for (std::size_t at = 0; at < even.time_s.size(); ++at) {
    energy += even.heat[at] * 0.05;
    // Every second one, most third ones are left out, and ten seconds of rest.
    if (at > 0 && (at % 2 == 1 || at % 3 == 2 || (at > 1000 && at < 1200))) {
      continue;
    }
    input.time_s.push_back(even.time_s[at]);
    input.heat.push_back(at == 0 ? even.heat[0] : energy / (0.05 * static_cast<double>(at - last)));
    input.temperatures[0].values.push_back(even.temperatures[0].values[at]);
    if (at % 7 == 0) {
      input.temperatures[0].values.back() = NAN;
    }
    input.temperatures[1].values.push_back(even.temperatures[1].values[at]);
    energy = 0;
    last = at;
  }
  const Answer answer = analyse_step(input);
  EXPECT_NEAR(resistance(answer, "TC0D").value, machine.die_k_w(), 0.001);
  EXPECT_NEAR(time_constant(answer, "TC0D", 1).value, machine.slow_s(), 0.3);
  input.heat[20] = input.heat[600] = NAN;
  EXPECT_NEAR(resistance(analyse_step(input), "TC0D").value, machine.die_k_w(), 0.005);
}

TEST(Step, LeavesOutInstantsThatDoNotAscend) {
  const TwoNodes machine;
  StepInput input = machine.record(one_step, 175, 0.1);
  input.time_s[100] = input.time_s[99];
  const Answer answer = analyse_step(input);
  EXPECT_NEAR(resistance(answer, "TC0D").value, machine.die_k_w(), 0.001);
  EXPECT_THAT(answer.warnings, testing::Contains(HasSubstr("1 samples were left out")));
}

TEST(Step, ARecordMayBeginWhileTheLoadIsOn) {
  const TwoNodes machine;
  const auto load = [](double time_s) { return time_s >= 3 && time_s < 55 ? 1.0 : 0.0; };
  StepInput input = machine.record(load, 175, 0.1);
  const auto drop_first = [](std::vector<double>& values) {
    values.erase(values.begin(), values.begin() + 200);
  };
  drop_first(input.time_s);
  drop_first(input.heat);
  for (Column& column : input.temperatures) {
    drop_first(column.values);
  }
  std::mt19937_64 random(3);
  disturb(input, 0.1, 0, random);
  const Answer answer = analyse_step(input);
  EXPECT_NEAR(resistance(answer, "TC0D").value, machine.die_k_w(), 0.03 * machine.die_k_w());
  EXPECT_NEAR(time_constant(answer, "TC0D", 1).value, machine.slow_s(), 0.03 * machine.slow_s());
}

TEST(Step, AReadingThatLagsIsTakenBack) {
  const TwoNodes machine;
  StepInput input = machine.record(one_step, 175, 0.05);
  // The mean of the last two intervals, as a sensor with a window of 0.1 s would show it.
  for (std::size_t at = input.heat.size() - 1; at > 0; --at) {
    input.heat[at] = (input.heat[at] + input.heat[at - 1]) / 2;
  }
  const double blind = time_constant(analyse_step(input), "TC0D", 0).value;
  input.heat_delay_s = 0.025;
  const double seeing = time_constant(analyse_step(input), "TC0D", 0).value;
  EXPECT_NEAR(seeing, machine.fast_s(), 0.01);
  EXPECT_GT(std::abs(blind - machine.fast_s()), 2 * std::abs(seeing - machine.fast_s()));
}

}  // namespace
}  // namespace lab
