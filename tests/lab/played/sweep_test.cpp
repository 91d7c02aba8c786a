#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <string>
#include <vector>

#include "lab/analysis/sweep.h"
#include "lab/plan/plan_error.h"
#include "lab/played/played.h"
#include "lab/questions/sweep.h"
#include "lab/questions/sweep_plan.h"
#include "machines/simulated/power.h"

namespace lab {
namespace {

using Json = nlohmann::ordered_json;

std::vector<MachineKey> simulated_keys() {
  const auto key = [](const char* name, const char* unit, double value) {
    return MachineKey{.name = name, .unit = unit, .source = "simulated", .value = value};
  };
  return {key("PC0C", "W", 12.7),   key("TC0D", "degC", 33.5), key("TC0P", "degC", 30.4),
          key("F0Mx", "RPM", 5200), key("F1Mx", "RPM", 4400),  key("F2Mx", "RPM", 3800),
          key("F0Mn", "RPM", 800),  key("F1Mn", "RPM", 600),   key("F2Mn", "RPM", 600)};
}

/// A sweep as a command line asks for it, to its end.
class PlayedSweep : public testing::Test {
 protected:
  Plan planned(const std::vector<std::string>& words) {
    CLI::App app;
    sweep_.add_options(app);
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    app.parse(reversed);
    Plan plan = sweep_.plan();
    sweep_.complete(plan, {.keys = simulated_keys, .pstates = [this] { return pstates_; }});
    return plan;
  }

  const Answer& asked(const std::vector<std::string>& words, double noise_K = 0) {
    Player player(planned(words));
    player.play();
    run_ = player.run();
    if (noise_K > 0) {
      std::mt19937_64 random(5);
      disturb(run_, "TC0D", noise_K, 0.125, random);
      disturb(run_, "TC0P", noise_K, 0.125, random);
      disturb(run_, "PC0C", 0.5, 0, random);
    }
    answer_ = sweep_.analyse(run_);
    return answer_;
  }

  static double value(const Json& estimate) { return estimate["value"]; }
  static bool holds(const Json& estimate, double truth) {
    return estimate["low"] <= truth && estimate["high"] >= truth;
  }

  std::size_t pstates_ = 8;
  Sweep sweep_;
  lab::Run run_;
  Answer answer_;
};

// docs/simulated-machine.md: "Steady states" at half and full load with every fan at its maximum.
TEST_F(PlayedSweep, OverDutyComesToTheSteadyStateOfEachPoint) {
  const Answer& answer = asked({"duty", "--seed", "3"});
  ASSERT_TRUE(answer.decided);
  const Json& points = answer.figures["points"];
  ASSERT_EQ(points.size(), 5U);
  EXPECT_EQ(points[0]["setting"], 0);
  EXPECT_EQ(points[4]["setting"], 1);
  EXPECT_NEAR(value(points[0]["keys"]["PC0C"]), 12.54, 0.05);
  EXPECT_NEAR(value(points[0]["keys"]["TC0P"]), 27.28, 0.05);
  EXPECT_NEAR(value(points[4]["keys"]["PC0C"]), 85.26, 0.1);
  EXPECT_NEAR(value(points[4]["keys"]["TC0D"]), 61.81, 0.1);
  EXPECT_NEAR(value(points[4]["keys"]["TC0P"]), 40.50, 0.1);
}

TEST_F(PlayedSweep, OverDutyTellsTheLoadLineAndTheResistances) {
  const Answer& answer = asked({"duty", "--seed", "3"});
  EXPECT_NEAR(value(answer.figures["load_line"]["resistance"]["TC0D"]), 0.4318, 0.002);
  EXPECT_NEAR(value(answer.figures["load_line"]["resistance"]["TC0P"]), 0.1818, 0.001);
  EXPECT_NEAR(value(answer.figures["points"][4]["dynamic_power"]), 70, 0.5);
}

// The exponent 0.8, 1.5 W/K in still air and 4 W/K more at the maximum.
TEST_F(PlayedSweep, OverFanSpeedTellsExponentAndStillAirConductance) {
  const Answer& answer = asked({"rpm", "--duty", "0.5", "--seed", "4"});
  ASSERT_TRUE(answer.decided);
  EXPECT_EQ(answer.figures["points"].size(), 6U);
  const Json& sink = answer.figures["cooling"]["TC0P"];
  EXPECT_NEAR(value(sink["exponent"]), 0.8, 0.05);
  EXPECT_NEAR(value(sink["still_conductance"]), 1.5, 0.05 * 1.5);
  EXPECT_NEAR(value(sink["air"]), 25, 0.2);
  const Json& die = answer.figures["cooling"]["TC0D"];
  EXPECT_NEAR(value(die["series_resistance"]), 0.25, 0.02);
}

TEST_F(PlayedSweep, OverFanSpeedTellsNoLawOfATemperatureThatStandsStill) {
  asked({"rpm", "--duty", "0.5", "--seed", "4"});
  run_.samples.columns.push_back({.name = "TA0P",
                                  .unit = "degC",
                                  .source = "",
                                  .values = std::vector<double>(run_.samples.time_s.size(), 25)});
  const Answer answer = sweep_.analyse(run_);
  EXPECT_TRUE(answer.figures["cooling"].contains("TC0D"));
  EXPECT_FALSE(answer.figures["cooling"].contains("TA0P"));
  EXPECT_THAT(answer.sentences, testing::Each(testing::Not(testing::HasSubstr("TA0P"))));
}

TEST_F(PlayedSweep, OverFanSpeedHoldsTheTruthOnNoisySensors) {
  const Answer& answer = asked({"rpm", "--seed", "4"}, 0.2);
  const Json& sink = answer.figures["cooling"]["TC0P"];
  EXPECT_TRUE(holds(sink["exponent"], 0.8)) << sink["exponent"];
  EXPECT_TRUE(holds(sink["still_conductance"], 1.5)) << sink["still_conductance"];
}

TEST_F(PlayedSweep, OverFanSpeedArmsALimitForEachTemperature) {
  const Plan plan = planned({"rpm"});
  EXPECT_THAT(plan.limits,
              testing::ElementsAre(testing::Pair("TC0D", 95), testing::Pair("TC0P", 95)));
}

TEST_F(PlayedSweep, OverPStatesTellsThePowerOfEach) {
  const Answer& answer = asked({"pstate", "--duty", "0.5", "--seed", "1"});
  const Json& points = answer.figures["points"];
  ASSERT_EQ(points.size(), simulated::kPStates.size());
  for (std::size_t pstate = 0; pstate < points.size(); ++pstate) {
    const double truth = simulated::kDynamicW * simulated::dynamic_scale(pstate);
    EXPECT_NEAR(value(points[pstate]["dynamic_power"]), truth, 0.02 * truth) << pstate;
    EXPECT_EQ(points[pstate]["setting"], pstate);
  }
}

// 0.3 % of one of two processors, which draws what a spinning thread does.
TEST_F(PlayedSweep, OverPStatesAllowsForWhatTheEngineDoesBesideTheLoad) {
  asked({"pstate", "--duty", "0.5", "--seed", "1"});
  const Column& phases = *run_.samples.find(kPhaseColumn);
  for (Column& column : run_.samples.columns) {
    for (std::size_t row = 0; column.name == "PC0C" && row < column.values.size(); ++row) {
      const Phase& phase = run_.plan.phases[static_cast<std::size_t>(phases.values[row])];
      const double scale = simulated::dynamic_scale(static_cast<std::size_t>(*phase.pstate));
      column.values[row] += 0.0015 * 0.55 * simulated::kDynamicW * scale;
    }
  }
  const Answer answer = sweep_.analyse(run_);
  ASSERT_FALSE(answer.figures["points"].empty());
  for (const Json& point : answer.figures["points"]) {
    const double truth = simulated::kDynamicW * simulated::dynamic_scale(point["setting"]);
    EXPECT_TRUE(holds(point["dynamic_power"], truth)) << point.dump();
    EXPECT_NEAR(value(point["dynamic_power"]), truth, 0.02 * truth);
  }
}

std::vector<int> pstates_of(const Plan& plan) {
  std::vector<int> found;
  found.reserve(plan.phases.size());
  for (const Phase& phase : plan.phases) {
    found.push_back(phase.pstate.value_or(kAutomaticPState));
  }
  return found;
}

TEST_F(PlayedSweep, OverPStatesGoesOverThoseOfTheMachine) {
  pstates_ = 3;
  EXPECT_THAT(pstates_of(planned({"pstate", "--in-order"})), testing::ElementsAre(0, 0, 1, 2));
  pstates_ = 30;  // eight of them, from the first to the last
  EXPECT_THAT(pstates_of(planned({"pstate", "--in-order"})),
              testing::ElementsAre(0, 0, 4, 8, 12, 17, 21, 25, 29));
  EXPECT_THAT(pstates_of(planned({"pstate", "--in-order", "--at", "0,29"})),
              testing::ElementsAre(0, 0, 29));
}

TEST_F(PlayedSweep, OverPStatesIsRefusedWhereThereAreNone) {
  pstates_ = 0;
  EXPECT_THROW(planned({"pstate"}), PlanError);
  EXPECT_NO_THROW(planned({"pstate", "--at", "0,1"}));
}

TEST_F(PlayedSweep, OverLoadsTellsTheActivityOfEach) {
  const Answer& answer = asked({"load", "--duty", "0.5", "--seed", "2"});
  const Json& points = answer.figures["points"];
  const std::map<std::string, double> activities{{"bmix", 1},   {"bfma", 0.95}, {"bcache", 0.8},
                                                 {"bint", 0.7}, {"bmem", 0.65}, {"bspin", 0.55}};
  ASSERT_EQ(points.size(), activities.size());
  for (const Json& point : points) {
    const double truth = activities.at(point["setting"]);
    EXPECT_NEAR(value(point["activity"]), truth, 0.01) << point["setting"];
  }
}

TEST_F(PlayedSweep, ShufflesItsPointsAsTheSeedHasIt) {
  const auto order = [&](const char* seed) {
    std::string names;
    for (const Phase& phase : planned({"duty", "--seed", seed}).phases) {
      names += phase.name + ";";
    }
    return names;
  };
  EXPECT_EQ(order("1"), order("1"));
  EXPECT_NE(order("1"), order("2"));
  EXPECT_EQ(planned({"duty", "--seed", "7"}).seed, 7);
  EXPECT_TRUE(planned({"duty"}).seed);
}

TEST_F(PlayedSweep, KeepsTheOrderOfItsPointsIfToldTo) {
  const Plan plan = planned({"duty", "--in-order", "--at", "0.5,0,1"});
  EXPECT_FALSE(plan.seed);
  EXPECT_EQ(plan.phases[0].drive.duty, 0.5);
  EXPECT_EQ(plan.phases[1].drive.duty, 0);
  EXPECT_EQ(plan.phases[2].drive.duty, 1);
}

TEST_F(PlayedSweep, RepeatsNoisyPointsUntilTheirErrorIsSmallEnough) {
  Plan plan = planned({"duty", "--at", "0,1", "--error", "0.002", "--seed", "1"});
  Player player(plan);
  player.play();
  EXPECT_TRUE(sweep_.further(player.run()).empty()) << "a quiet machine needs no more";
  lab::Run noisy = player.run();
  std::mt19937_64 random(9);
  disturb(noisy, "TC0P", 1, 0, random);
  const std::vector<Phase> further = sweep_.further(noisy);
  ASSERT_FALSE(further.empty());
  EXPECT_FALSE(further[0].until_settled);
  EXPECT_GT(further[0].duration_s, 30) << "as long as the first visit";
  for (int round = 0; round < 10; ++round) {
    lab::Run seen = player.run();
    std::mt19937_64 again(9);
    disturb(seen, "TC0P", 1, 0, again);
    const std::vector<Phase> more = sweep_.further(seen);
    if (more.empty()) {
      break;
    }
    for (const Phase& phase : more) {
      player.play(phase);
    }
  }
  lab::Run seen = player.run();
  std::mt19937_64 again(9);
  disturb(seen, "TC0P", 1, 0, again);
  const Answer answer = sweep_.analyse(seen);
  EXPECT_GT(answer.figures["points"][1]["visits"], 1);
  EXPECT_TRUE(sweep_.further(seen).empty());
}

TEST_F(PlayedSweep, RefusesWhatIsNoSetting) {
  EXPECT_THROW(planned({"duty", "--at", "0,2"}), PlanError);
  EXPECT_THROW(planned({"rpm", "--at", "0,1000"}), PlanError);
  EXPECT_THROW(planned({"duty", "--at", "1"}), PlanError);
  EXPECT_THROW(planned({"pstate", "--at", "1,x"}), PlanError);
  EXPECT_THROW(planned({"duty", "--duty", "0.5"}), PlanError);
  EXPECT_THROW(planned({}), PlanError);
}

TEST_F(PlayedSweep, SaysWhichPointDidNotSettle) {
  const Answer& answer = asked({"duty", "--at", "0,1", "--at-most", "12s", "--in-order"});
  EXPECT_FALSE(answer.decided);
  EXPECT_THAT(answer.warnings,
              testing::Contains(testing::HasSubstr("not everything came to rest")));
}

// 55 s where the sink takes 38 s at 2000 RPM, and the load is held up now and again.
TEST_F(PlayedSweep, OverFanSpeedCountsPointsThatEndedEarlyWithWiderErrors) {
  asked({"rpm", "--duty", "0.5", "--in-order", "--at", "maximum,4000,3000,2000,1200", "--at-most",
         "55s"});
  std::mt19937_64 random(5);
  disturb(run_, "TC0D", 1, 0, random);
  disturb(run_, "PC0C", 3, 0, random);
  const Answer answer = sweep_.analyse(run_);
  EXPECT_THAT(answer.warnings,
              testing::Contains(testing::HasSubstr("ended while much was still to come (")));
  const Json& points = answer.figures["points"];
  EXPECT_FALSE(points[0]["settled"]);
  const Json& sink = answer.figures["cooling"]["TC0P"];
  ASSERT_TRUE(sink.is_object()) << answer.figures.dump(1);
  EXPECT_TRUE(holds(sink["exponent"], 0.8)) << sink["exponent"];
  EXPECT_TRUE(holds(sink["still_conductance"], 1.5)) << sink["still_conductance"];
}

}  // namespace
}  // namespace lab
