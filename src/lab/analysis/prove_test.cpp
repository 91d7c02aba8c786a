#include "lab/analysis/prove.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "lab/fakes/fake_waveform.h"

namespace lab {
namespace {

using testing::Contains;
using testing::HasSubstr;

/// A machine that wakes within 4 us, on which a power sensor takes a new value every 0.1 s.
ProveInput quiet_machine() {
  ProveInput input;
  input.carrier_hz = 100;
  input.rate_hz = 50;
  input.floor_on_s = 0.0002;
  const FakeWaveform floor{.duty = 0.02, .late_us = 3, .skew_us = 0, .noise_us = 1};
  const FakeWaveform square{
      .begin_ns = 11'000'000'000, .late_us = 4, .skew_us = 0, .noise_us = 6, .kept_away = 0.006};
  input.floor = floor.add_to(input.stimulus);
  input.square = square.add_to(input.stimulus);
  input.stimulus.threads = {{.number = 0, .policy = "fifo", .priority = 31},
                            {.number = 1, .policy = "fifo", .priority = 31}};
  Column power{.name = "PC0C", .unit = "W", .source = {}, .values = {}};
  Column still{.name = "TA0P", .unit = "degC", .source = {}, .values = {}};
  for (int row = 0; row < 2000; ++row) {
    input.samples.time_s.push_back(row * 0.02);
    power.values.push_back(20 + std::floor(8 * std::sin(row / 5 * 2.7)) / 4);
    still.values.push_back(25);
    input.stimulus.samples.push_back({.instant_ns = 1'000'000'000 + std::int64_t{row} * 20'000'000,
                                      .elapsed_s = row * 0.02 + 0.0003});
  }
  input.samples.columns = {power, still};
  return input;
}

TEST(Prove, SaysItsVerdictInALine) {
  const Answer answer = analyse_prove(quiet_machine());
  EXPECT_TRUE(answer.decided);
  EXPECT_EQ(answer.figures["verdict"],
            "a 100 Hz square wave is delivered with 0.3 % duty error; edges p99 10.0 us; skew p99 "
            "5.5 us; this machine's wake-up floor is 3.5 us (p99 4.0 us); PC0C updates every 100 "
            "ms: see nothing above 3 Hz");
  EXPECT_THAT(answer.sentences[0], testing::StartsWith("A 100 Hz square wave"));
  EXPECT_THAT(answer.sentences, Contains(HasSubstr("This is the engine's own word")));
  EXPECT_TRUE(answer.warnings.empty()) << answer.warnings[0];
}

TEST(Prove, HasTheEvidenceBesideIt) {
  const Answer answer = analyse_prove(quiet_machine());
  const auto& figures = answer.figures;
  EXPECT_NEAR(figures["waveform"]["duty"]["value"].get<double>(), 0.497, 1e-3);
  EXPECT_NEAR(figures["waveform"]["duty_asked"].get<double>(), 0.5, 1e-9);
  EXPECT_NEAR(figures["waveform"]["frequency"]["value"].get<double>(), 100, 1e-4);
  EXPECT_NEAR(figures["floor"]["median"].get<double>(), 3.5, 0.1);
  EXPECT_NEAR(figures["sampling"]["behind_grid"]["median"].get<double>(), 300, 1);
  EXPECT_NEAR(figures["keys"]["PC0C"]["update_interval"].get<double>(), 0.1, 1e-3);
  EXPECT_NEAR(figures["keys"]["PC0C"]["step"].get<double>(), 0.25, 1e-9);
  EXPECT_TRUE(figures["keys"]["TA0P"]["update_interval"].is_null());
  ASSERT_EQ(answer.charts.size(), 1U);
  for (const Series& series : answer.charts[0].series) {
    ASSERT_EQ(series.x.size(), series.y.size());
    EXPECT_TRUE(std::is_sorted(series.x.begin(), series.x.end()));
    EXPECT_EQ(series.y.front(), 1);
    EXPECT_GT(series.x.size(), 100U);
  }
  for (const ResultTable& table : answer.tables) {
    for (const auto& row : table.rows) {
      EXPECT_EQ(row.size(), table.head.size()) << table.title;
    }
  }
}

TEST(Prove, LaysTheKernelsTraceBesideTheEnginesWord) {
  ProveInput input = quiet_machine();
  input.scheduler.taken = true;
  for (const Stimulus::Follow& follow : input.stimulus.follows) {
    const std::int64_t instant_ns = follow.instant_ns - (follow.on ? 3'000 : 0);
    input.scheduler.switches.push_back(
        {.instant_ns = instant_ns, .task = 4711 + follow.thread, .on = follow.on});
  }
  EXPECT_TRUE(analyse_prove(input).figures["kernel_trace"].is_null()) << "of none of its threads";
  for (Stimulus::Thread& thread : input.stimulus.threads) {
    thread.task = 4711 + thread.number;
  }
  const Answer answer = analyse_prove(input);
  const auto& trace = answer.figures["kernel_trace"];
  EXPECT_EQ(trace["on_edges"]["count"], answer.figures["waveform"]["on_edges"]["count"]);
  EXPECT_NEAR(trace["read_behind"]["median"].get<double>(), 3, 0.1);
  EXPECT_THAT(answer.sentences,
              Contains(testing::AllOf(HasSubstr("was looked at beside it: by it on edges are p99 "),
                                      HasSubstr("the engine's begins lie 3.0 us behind"))));
  input.scheduler.lost = 12;
  EXPECT_THAT(analyse_prove(input).warnings,
              Contains(HasSubstr("The kernel's trace lacks 12 events")));
}

TEST(Prove, SaysWhatCannotBeMeasured) {
  ProveInput input = quiet_machine();
  input.samples.columns.erase(input.samples.columns.begin());
  const ResultTable possible = analyse_prove(input).tables[0];
  EXPECT_EQ(std::get<std::string>(possible.rows[1][1]), "not here: no power is measured");
  EXPECT_THAT(std::get<std::string>(possible.rows[3][1]), HasSubstr("no power is measured"));
}

TEST(Prove, NamesWhatIsNotAsItShouldBe) {
  ProveInput input = quiet_machine();
  input.stimulus = {};
  const FakeWaveform floor{.duty = 0.02, .noise_us = 150};
  const FakeWaveform square{.begin_ns = 11'000'000'000, .noise_us = 2000, .missed_every = 50};
  input.floor = floor.add_to(input.stimulus);
  input.square = square.add_to(input.stimulus);
  input.stimulus.threads = {{.number = 0, .policy = "ordinary", .priority = 0}};
  input.stimulus.samples = {{.instant_ns = 0, .elapsed_s = 0}, {.instant_ns = 1, .elapsed_s = 0.1}};
  const std::vector<std::string> warnings = analyse_prove(input).warnings;
  EXPECT_THAT(warnings, Contains(HasSubstr("at an ordinary priority")));
  EXPECT_THAT(warnings, Contains(HasSubstr("without load is later than")));
  EXPECT_THAT(warnings, Contains(HasSubstr("later than the machine's own wake-ups explain")));
  EXPECT_THAT(warnings, Contains(HasSubstr("20 of 2000 times a thread did not begin")));
  EXPECT_THAT(warnings, Contains(HasSubstr("4 of 6 samples were left out")));
}

TEST(Prove, WithoutASquareWaveNothingIsDecided) {
  ProveInput input = quiet_machine();
  input.square.reset();
  const Answer answer = analyse_prove(input);
  EXPECT_FALSE(answer.decided);
  EXPECT_EQ(answer.figures["verdict"], "no square wave was played: nothing is proven");
}

}  // namespace
}  // namespace lab
