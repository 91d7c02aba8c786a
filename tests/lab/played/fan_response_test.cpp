#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "lab/plan/plan_error.h"
#include "lab/played/played.h"
#include "lab/questions/fan_response.h"
#include "machines/simulated/fans.h"

namespace lab {
namespace {

using Json = nlohmann::ordered_json;

std::vector<MachineKey> keys_with_fans() {
  const auto key = [](const std::string& name, const char* unit, double value) {
    return MachineKey{.name = name, .unit = unit, .source = "simulated", .value = value};
  };
  std::vector<MachineKey> keys{key("TC0D", "degC", 33.5), key("TC0P", "degC", 30.4)};
  for (std::size_t fan = 0; fan < simulated::kFans.size(); ++fan) {
    const std::string name = "F" + std::to_string(fan);
    keys.push_back(key(name + "Tg", "RPM", simulated::kFans[fan].least_rpm));
    keys.push_back(key(name + "Ac", "RPM", simulated::kFans[fan].least_rpm));
    keys.push_back(key(name + "Mx", "RPM", simulated::kFans[fan].most_rpm));
    keys.push_back(key(name + "Mn", "RPM", simulated::kFans[fan].least_rpm));
  }
  return keys;
}

class PlayedFans : public testing::Test {
 protected:
  Plan planned(const std::vector<std::string>& words = {}) {
    CLI::App app;
    question_.add_options(app);
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    Plan plan = question_.plan();
    question_.complete(plan, {.keys = keys_with_fans, .pstates = nullptr});
    return plan;
  }
  static double value(const Json& estimate) { return estimate["value"]; }
  static bool holds(const Json& estimate, double truth) {
    return estimate["low"] <= truth && estimate["high"] >= truth;
  }

  FanResponse question_;
};

// docs/simulated-machine.md, "Fans": 1.5 s, the least speeds, and a stop at 60 RPM.
TEST_F(PlayedFans, TellWhatTheDocumentSaysOfEach) {
  const Answer answer = question_.analyse(played(planned()));
  ASSERT_TRUE(answer.decided);
  ASSERT_EQ(answer.figures["fans"].size(), simulated::kFans.size());
  for (std::size_t fan = 0; fan < simulated::kFans.size(); ++fan) {
    const Json& found = answer.figures["fans"]["F" + std::to_string(fan) + "Tg"];
    for (const char* way : {"down", "up"}) {
      EXPECT_NEAR(value(found[way]["time_constant"]), 1.5, 0.03 * 1.5) << fan << way;
      EXPECT_NEAR(value(found[way]["dead_time"]), 0, 0.06) << fan << way;
    }
    EXPECT_NEAR(value(found["least_steady_speed"]), simulated::kFans[fan].least_rpm,
                0.02 * simulated::kFans[fan].least_rpm);
    EXPECT_TRUE(holds(found["stop"]["speed"], simulated::kStandstillRpm)) << found["stop"];
    EXPECT_TRUE(found["start"]["turns"]);
    EXPECT_LT(value(found["start"]["delay"]), 0.1);
  }
  EXPECT_THAT(answer.warnings, testing::IsEmpty());
}

TEST_F(PlayedFans, HoldTheTruthWithATachometerOfOneValueASecond) {
  lab::Run run = played(planned({"--fan", "F1Tg", "--hold", "15s"}));
  std::mt19937_64 random(3);
  disturb(run, "F1Ac", 8, 0, random);
  slow_down(run, "F1Ac", 20);
  const Answer answer = question_.analyse(run);
  const Json& found = answer.figures["fans"]["F1Tg"];
  EXPECT_NEAR(value(found["down"]["time_constant"]), 1.5, 0.15);
  EXPECT_TRUE(holds(found["down"]["time_constant"], 1.5)) << found["down"];
}

TEST_F(PlayedFans, SlowOneFanAtATimeAndWithLimits) {
  const Plan plan = planned();
  EXPECT_THAT(plan.limits,
              testing::ElementsAre(testing::Pair("TC0D", 95), testing::Pair("TC0P", 95)));
  EXPECT_EQ(plan.fans.hold, Fans::Hold::maximum);
  for (const Phase& phase : plan.phases) {
    EXPECT_EQ(phase.drive.duty, 0);
    EXPECT_TRUE(!phase.fans || !phase.fan.empty());
  }
}

TEST_F(PlayedFans, AreNotAskedForLessThanTheirLeastSpeedButForTheStop) {
  int stops = 0;
  for (const Phase& phase : planned({"--fan", "F0Tg"}).phases) {
    if (phase.fans && phase.fans->hold == Fans::Hold::speed) {
      stops += phase.fans->rpm == 0 ? 1 : 0;
      EXPECT_TRUE(phase.fans->rpm == 0 || phase.fans->rpm >= 800) << phase.fans->rpm;
    }
  }
  EXPECT_EQ(stops, 1);
  for (const Phase& phase : planned({"--fan", "F0Tg", "--never-stop"}).phases) {
    EXPECT_TRUE(!phase.fans || phase.fans->rpm != 0 || phase.fans->hold == Fans::Hold::maximum);
  }
}

// The engine is told a speed some milliseconds before the phase that is for it begins.
TEST_F(PlayedFans, AreJudgedFromWhenTheEngineWasToldTheirSpeed) {
  lab::Run run = played(planned({"--fan", "F1Tg"}));
  const std::vector<double>& phases = run.samples.find(kPhaseColumn)->values;
  constexpr double kEarly_s = 0.2;
  for (std::size_t row = 1; row < phases.size(); ++row) {
    if (phases[row] != phases[row - 1]) {
      run.delivery.forced.push_back({run.samples.time_s[row] - kEarly_s, "F1Tg", "-"});
    }
  }
  const Json found = question_.analyse(run).figures["fans"]["F1Tg"];
  EXPECT_NEAR(value(found["down"]["dead_time"]), kEarly_s, 0.06);
  EXPECT_TRUE(found["stop"]["stands_still"]) << "rows behind the next speed are not of the stop";
}

TEST_F(PlayedFans, ThatDoNotFollowAreNotDecided) {
  Plan plan = planned({"--fan", "F0Tg"});
  plan.fans.hold = Fans::Hold::automatic;  // as for a caller who may not hold them
  for (Phase& phase : plan.phases) {
    phase.fans.reset();
  }
  lab::Run run = played(plan);
  run.plan = planned({"--fan", "F0Tg"});
  const Answer answer = question_.analyse(run);
  EXPECT_FALSE(answer.decided);
  EXPECT_THAT(answer.sentences[0], testing::HasSubstr("Only root may hold fans"));
}

TEST_F(PlayedFans, ThatAreHeldTooBrieflyAreToldSoAndNotThatRootIsMissing) {
  lab::Run run = played(planned({"--fan", "F0Tg", "--hold", "2s"}));
  run.delivery.forced.push_back({0, "F0Tg", "1600"});
  const Answer answer = question_.analyse(run);
  EXPECT_THAT(answer.sentences[0], testing::HasSubstr("held too briefly"));
  EXPECT_THAT(answer.sentences[0], testing::HasSubstr("--hold"));
  EXPECT_THAT(answer.sentences, testing::Each(testing::Not(testing::HasSubstr("root"))));
  EXPECT_THAT(answer.sentences.back(), testing::HasSubstr("still getting slower"));
  const Json& found = answer.figures["fans"]["F0Tg"];
  EXPECT_TRUE(found["least_steady_speed"].is_null()) << found["least_steady_speed"];
  EXPECT_TRUE(found["stop"]["stands_still"].is_null());
  ASSERT_EQ(answer.warnings.size(), 1U);
  EXPECT_THAT(answer.warnings[0], testing::HasSubstr("no speed was held for as long"));
}

TEST_F(PlayedFans, ThatWereHeldAndStoodFastAreNotCalledRoots) {
  lab::Run run = played(planned({"--fan", "F0Tg"}));
  for (double& speed :
       std::find_if(run.samples.columns.begin(), run.samples.columns.end(), [](const Column& one) {
         return one.name == "F0Ac";
       })->values) {
    speed = 2000;
  }
  run.delivery.forced.push_back({0, "F0Tg", "1600"});
  EXPECT_EQ(question_.analyse(run).sentences[0],
            "The fans were held, and none was seen to follow.");
}

TEST_F(PlayedFans, ThatTheMachineDoesNotHaveAreRefused) {
  EXPECT_THROW(planned({"--fan", "F7Tg"}), PlanError);
  EXPECT_THROW(planned({"--hold", "soon"}), PlanError);
}

}  // namespace
}  // namespace lab
