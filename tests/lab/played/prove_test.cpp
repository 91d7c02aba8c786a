#include "lab/questions/prove.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/played/played.h"

namespace lab {
namespace {

/// The run of the question's own plan, with what an engine's record says of its phases. No edge is
/// known: they are not the model's.
lab::Run played_proof() {
  lab::Run run = played(Prove().plan());
  const std::vector<double>& phase = run.samples.find(kPhaseColumn)->values;
  for (std::size_t row = 0; row < phase.size(); ++row) {
    run.stimulus.samples.push_back(
        {.instant_ns = static_cast<std::int64_t>(1e9 * run.samples.time_s[row]),
         .elapsed_s = run.samples.time_s[row]});
  }
  std::int64_t begun_ns = 0;
  for (const Phase& one : run.plan.phases) {
    run.stimulus.asked_ns.push_back(begun_ns);
    begun_ns += static_cast<std::int64_t>(1e9 * one.duration_s);
  }
  run.stimulus.edges.push_back({.planned_ns = begun_ns, .on = false});
  return run;
}

// docs/simulated-machine.md: "PC0C" is the mean of the last 0.1 s, and comes 50 ms late. A mean
// over w rises from a tenth to nine tenths in 0.8 w, and shows half of a wave's power at 0.44 / w.
TEST(PlayedProof, FindsThatPowerIsAMeanOverATenthOfASecond) {
  const Answer answer = Prove().analyse(played_proof());
  const auto& power = answer.figures["keys"]["PC0C"];
  EXPECT_NEAR(power["rise_time"].get<double>(), 0.08, 0.004);
  EXPECT_NEAR(power["delay"].get<double>(), 0.05, 0.004);
  EXPECT_NEAR(power["highest_frequency"].get<double>(), 4.4, 0.3);
  EXPECT_NEAR(power["step"].get<double>(), 1.0 / 256, 1e-6);
  EXPECT_NEAR(answer.figures["keys"]["TC0D"]["step"].get<double>(), 1.0 / 256, 1e-6);
}

TEST(PlayedProof, TellsASlowSensorFromAQuickOne) {
  lab::Run run = played_proof();
  slow_down(run, "PC0C", 10);
  const Answer answer = Prove().analyse(run);
  EXPECT_NEAR(answer.figures["keys"]["PC0C"]["update_interval"].get<double>(), 0.2, 0.002);
  EXPECT_LT(answer.figures["keys"]["PC0C"]["highest_frequency"].get<double>(), 1.7);
  EXPECT_FALSE(answer.decided) << "without edges there is no waveform to judge";
}

TEST(PlayedProof, ItsPhasesAreFoundByTheirNames) {
  const ProveInput input = prove_input(played_proof());
  ASSERT_TRUE(input.floor && input.square);
  EXPECT_EQ(input.floor->from_ns, 500'000'000);
  EXPECT_EQ(input.square->to_ns, 24'900'000'000);
  EXPECT_NEAR(input.floor_on_s, 0.0005, 1e-9);
  EXPECT_EQ(input.steps.size(), 17U);
  EXPECT_NEAR(input.steps.front().time_s, 10, 1e-9);
}

}  // namespace
}  // namespace lab
