#include "engine/forcing.h"

#include <gtest/gtest.h>

#include "vorn/settings.h"

namespace engine {
namespace {

const Forced kBoth{.fans = {"F0Tg", "F1Tg"}, .pstate = true};

std::string refusal(std::string_view line, const Forced& forced = kBoth) {
  return parse_forcing(line, forced).refused;
}

TEST(Forcing, OfAllFansIsASpeedOrTheirMaximum) {
  const auto speed = parse_forcing("fans 2000", kBoth).value;
  ASSERT_TRUE(speed);
  EXPECT_EQ(speed->what, Forcing::What::fans);
  EXPECT_EQ(speed->fan, "");
  EXPECT_EQ(speed->value, 2000U);
  EXPECT_EQ(parse_forcing("fans maximum", kBoth).value->value, kMaximumSpeed);
  EXPECT_EQ(parse_forcing("fans 0", kBoth).value->value, 0U) << "a stop, as of the fan wave";
}

TEST(Forcing, OfOneFanNamesItsTarget) {
  const auto speed = parse_forcing(" fan  F1Tg 800 ", kBoth).value;
  ASSERT_TRUE(speed);
  EXPECT_EQ(speed->fan, "F1Tg");
  EXPECT_EQ(speed->value, 800U);
  EXPECT_EQ(refusal("fan F2Tg 800"), "\"F2Tg\" is no fan of --fan");
}

TEST(Forcing, OfAPStateIsItsNumber) {
  const auto state = parse_forcing("pstate 3", kBoth).value;
  ASSERT_TRUE(state);
  EXPECT_EQ(state->what, Forcing::What::pstate);
  EXPECT_EQ(state->value, 3U);
  EXPECT_EQ(refusal("pstate 256"), "\"256\" is not a P-state from 0 to 255");
}

TEST(Forcing, TakesNoOtherSpeedThanATargetHolds) {
  for (const char* line : {"fans 65536", "fans -1", "fans fast", "fans 1.5"}) {
    EXPECT_NE(refusal(line).find("is not a speed from 0 to 65535 RPM"), std::string::npos) << line;
  }
}

// What a run does not force it does not give back either.
TEST(Forcing, OfWhatTheRunLeavesAloneIsRefused) {
  EXPECT_EQ(refusal("fans 2000", {}),
            "the run holds no fan: it takes root, and a speed other than 0");
  EXPECT_EQ(refusal("fan F0Tg 2000", {.fans = {}, .pstate = true}),
            "the run holds no fan: it takes root, and a speed other than 0");
  EXPECT_EQ(refusal("pstate 1", {.fans = {"F0Tg"}, .pstate = false}),
            "the run forces no P-state: it takes root and --pstate");
}

TEST(Forcing, LinesAreToldByTheirFirstWord) {
  EXPECT_TRUE(is_forcing("fans"));
  EXPECT_TRUE(is_forcing("fan F0Tg 1"));
  EXPECT_TRUE(is_forcing("pstate 1 2"));
  EXPECT_FALSE(is_forcing("duty 0.5"));
  EXPECT_FALSE(is_forcing(""));
  EXPECT_EQ(refusal("fans 1 2"), "it is none of the lines that are known");
  EXPECT_EQ(refusal("fan 800"), "it is none of the lines that are known");
}

}  // namespace
}  // namespace engine
