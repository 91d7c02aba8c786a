#include "machines/simulated/model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "machines/simulated/power.h"
#include "support/milliseconds.h"

namespace simulated {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kLong = 1500 * kSecond;

void force_all(Model& model, double rpm) {
  for (std::size_t fan = 0; fan < kFans.size(); ++fan) {
    model.fans().set_target_rpm(fan, rpm);
  }
  model.fans().set_force_bits(0b111);
}

void expect_same(const Model& a, const Model& b) {
  EXPECT_EQ(a.energy_j(), b.energy_j());
  EXPECT_EQ(a.power_w(), b.power_w());
  EXPECT_EQ(a.die_c(), b.die_c());
  EXPECT_EQ(a.sink_c(), b.sink_c());
  EXPECT_EQ(a.fans().speed_rpm(0), b.fans().speed_rpm(0));
  EXPECT_EQ(a.age_s(), b.age_s());
}

/// The steady state in closed form: every heat flow is the power, and the power is that of the
/// die's temperature.
void expect_settled(const Model& model, double utilisation) {
  const double power = model.power_w();
  EXPECT_NEAR(package_power_w(utilisation, model.forced_pstate().value_or(0), model.die_c()), power,
              1e-6);
  EXPECT_NEAR((model.die_c() - model.sink_c()) * kDieToSinkWPerK, power, 1e-5);
  EXPECT_NEAR((model.sink_c() - kAmbientC) * sink_to_air_w_per_k(model.fans().air_flow()), power,
              1e-3);
}

TEST(Model, BeginsAsAnIdleMachineThatHasSettled) {
  Model model;
  const Model begun = model;
  expect_settled(model, 0);
  model.advance(kLong, 0);
  EXPECT_NEAR(model.power_w(), begun.power_w(), 1e-6);
  EXPECT_NEAR(model.die_c(), begun.die_c(), 1e-6);
  EXPECT_NEAR(model.fans().speed_rpm(0), 800, 1e-6);
}

TEST(Model, SettlesWhereTheHeatFlowsAreThePowerUnderAutomaticControl) {
  Model model;
  model.advance(kLong, 1);
  expect_settled(model, 1);
  EXPECT_NEAR(model.fans().speed_rpm(0), automatic_rpm(0, model.sink_c()), 0.01);
}

TEST(Model, SettlesWhereTheHeatFlowsAreThePowerWithFansStoppedOrAtMaximum) {
  for (const double rpm : {0.0, 6000.0}) {
    Model model;
    force_all(model, rpm);
    model.advance(kLong, 0.7);
    expect_settled(model, 0.7);
  }
}

TEST(Model, SettlesWhereTheHeatFlowsAreThePowerInEveryPState) {
  for (std::size_t pstate = 0; pstate < kPStates.size(); ++pstate) {
    Model model;
    model.force_pstate(pstate);
    model.advance(kLong, 1);
    expect_settled(model, 1);
  }
}

TEST(Model, StaysBelow128DegreesUnderFullLoadWithFansStopped) {
  Model model;
  force_all(model, 0);
  model.advance(kLong, 1);
  EXPECT_LT(model.die_c(), 127);
}

TEST(Model, MoreLoadIsMorePowerAndMoreHeat) {
  double power = 0;
  double die = 0;
  for (const double load : {0.0, 0.25, 0.5, 0.75, 1.0}) {
    Model model;
    model.advance(100 * kSecond, load);
    EXPECT_GT(model.power_w(), power);
    EXPECT_GT(model.die_c(), die);
    power = model.power_w();
    die = model.die_c();
  }
}

TEST(Model, MoreAirIsCooler) {
  double sink = 200;
  for (const double rpm : {0.0, 500.0, 1500.0, 3000.0, 5200.0}) {
    Model model;
    force_all(model, rpm);
    model.advance(100 * kSecond, 1);
    EXPECT_LT(model.sink_c(), sink);
    sink = model.sink_c();
  }
}

TEST(Model, SlowerPStateIsLessPower) {
  double power = 1000;
  for (std::size_t pstate = 0; pstate < kPStates.size(); ++pstate) {
    Model model;
    model.force_pstate(pstate);
    model.advance(10 * kSecond, 1);
    EXPECT_LT(model.power_w(), power);
    power = model.power_w();
  }
}

TEST(Model, PowerBalancingKeepsToPState0) {
  Model balanced;
  Model forced;
  forced.force_pstate(0);
  balanced.advance(10 * kSecond, 0.6);
  forced.advance(10 * kSecond, 0.6);
  EXPECT_FALSE(balanced.forced_pstate().has_value());
  expect_same(balanced, forced);
}

TEST(Model, NoEnergyIsLostOrMade) {
  Model model;
  const double stored = model.die_c() * kDieJPerK + model.sink_c() * kSinkJPerK;
  double given_to_air = 0;
  for (int i = 0; i < 20'000; ++i) {
    given_to_air +=
        (model.sink_c() - kAmbientC) * sink_to_air_w_per_k(model.fans().air_flow()) * 0.001;
    model.advance(Model::kStepNs, i % 3000 < 1000 ? 1 : 0.1);
  }
  const double gained = model.die_c() * kDieJPerK + model.sink_c() * kSinkJPerK - stored;
  EXPECT_GT(gained, 100);
  EXPECT_NEAR(model.energy_j(), given_to_air + gained, 1e-6);
}

TEST(Model, HowTimeIsCutMakesNoDifference) {
  Model whole;
  Model cut;
  std::mt19937 random(7);
  std::uniform_int_distribution<std::int64_t> piece(1, 3 * kMs);
  for (const double load : {0.3, 0.777, 1.0, 0.0123}) {
    std::int64_t left = 2 * kSecond + 123'457;
    whole.advance(left, load);
    while (left > 0) {
      const std::int64_t part = std::min(left, piece(random));
      cut.advance(part, load);
      left -= part;
    }
  }
  expect_same(whole, cut);
}

TEST(Model, TheSameHistoryGivesTheSameStateToTheLastBit) {
  const auto live = [] {
    Model model;
    for (int i = 0; i < 5000; ++i) {
      model.advance(1'700'000 + i, std::fmod(i * 0.37, 1.0));
    }
    return model;
  };
  expect_same(live(), live());
}

TEST(Model, MeasuredPowerIsTheMeanOfATenthOfASecond) {
  Model model;
  const double idle = model.power_w();
  model.advance(50 * kMs, 1);
  EXPECT_NEAR(model.power_w() - idle, 35, 0.2);
  model.advance(50 * kMs, 1);
  EXPECT_NEAR(model.power_w() - idle, 70, 0.4);
  model.advance(99 * kMs, 0);
  EXPECT_NEAR(model.power_w() - idle, 0.7, 0.4);
}

TEST(Model, MeasuredPowerOfAnyTenthOfASecondIsItsEnergy) {
  Model model;
  for (int i = 0; i < 50; ++i) {
    const double before = model.energy_j();
    model.advance(100 * kMs, i % 7 / 7.0);
    EXPECT_NEAR(model.power_w(), (model.energy_j() - before) / 0.1, 1e-9);
  }
}

TEST(Model, ShowsThePowerOfBeforeAfterATimeThatItSatOut) {
  Model model;
  for (int step = 0; step < 137; ++step) {
    model.advance(Model::kStepNs, step % 7 / 7.0);
  }
  const Model before = model;
  model.sit_out(kSecond + 37 * Model::kStepNs);
  EXPECT_EQ(model.power_w(), before.power_w());
  EXPECT_EQ(model.energy_j(), before.energy_j());
  EXPECT_NEAR(model.age_s() - before.age_s(), 1.0, 1e-9);
  Model beside = before;
  beside.advance(30 * Model::kStepNs, 1);
  model.advance(30 * Model::kStepNs, 1);
  EXPECT_EQ(model.power_w(), beside.power_w());
}

}  // namespace
}  // namespace simulated
