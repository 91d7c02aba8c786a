#include "engine/limit.h"

#include <gtest/gtest.h>

#include <cmath>

namespace engine {
namespace {

using Values = std::vector<std::optional<float>>;

TEST(Limit, IsAKeyAndTheMostThatItMayShow) {
  const auto limit = parse_limit("TC0D=95.5");
  ASSERT_TRUE(limit.value) << limit.refused;
  EXPECT_EQ(limit.value->key, "TC0D");
  EXPECT_EQ(limit.value->most, 95.5F);
}

TEST(Limit, WhatIsNoneIsRefusedForItsReason) {
  EXPECT_EQ(parse_limit("TC0D").refused, "it is not written KEY=VALUE");
  EXPECT_EQ(parse_limit("TC0=95").refused, "a key has four characters");
  EXPECT_EQ(parse_limit("TC0DD=95").refused, "a key has four characters");
  EXPECT_EQ(parse_limit("TC0D=").refused, "\"\" is no number");
  EXPECT_EQ(parse_limit("TC0D=hot").refused, "\"hot\" is no number");
  EXPECT_EQ(parse_limit("TC0D=95C").refused, "\"95C\" is no number");
  EXPECT_EQ(parse_limit("TC0D=nan").refused, "no key can show more than that");
  EXPECT_EQ(parse_limit("TC0D=1e39").refused, "no key can show more than that");
}

TEST(LimitWatch, EndsAtTheThirdLookInARowThatIsAbove) {
  LimitWatch watch({{"TC0D", 95.0F}});
  EXPECT_FALSE(watch.look({96.0F}));
  EXPECT_FALSE(watch.look({96.0F}));
  EXPECT_EQ(watch.look({97.5F}), "limit TC0D=95: the key shows 97.5");
}

TEST(LimitWatch, TheLimitItselfIsWithinIt) {
  LimitWatch watch({{"TC0D", 95.0F}});
  for (int look = 0; look < 10; ++look) {
    EXPECT_FALSE(watch.look({95.0F}));
  }
}

TEST(LimitWatch, ALookThatIsWithinStartsTheCountAnew) {
  LimitWatch watch({{"TC0D", 95.0F}});
  for (int round = 0; round < 5; ++round) {
    EXPECT_FALSE(watch.look({96.0F}));
    EXPECT_FALSE(watch.look({96.0F}));
    EXPECT_FALSE(watch.look({94.0F}));
  }
}

TEST(LimitWatch, AKeyThatCannotBeReadIsNotWithinItsLimit) {
  LimitWatch watch({{"TC0D", 95.0F}});
  EXPECT_FALSE(watch.look({std::nullopt}));
  EXPECT_FALSE(watch.look({96.0F}));
  EXPECT_EQ(watch.look({std::nullopt}), "limit TC0D=95: the key cannot be read any more");
}

TEST(LimitWatch, NotANumberIsNotWithinALimit) {
  LimitWatch watch({{"TC0D", 95.0F}});
  EXPECT_FALSE(watch.look({std::nanf("")}));
  EXPECT_FALSE(watch.look({std::nanf("")}));
  EXPECT_TRUE(watch.look({std::nanf("")}));
}

TEST(LimitWatch, EachLimitCountsForItself) {
  LimitWatch watch({{"TC0D", 95.0F}, {"PC0C", 60.0F}});
  EXPECT_FALSE(watch.look({96.0F, 61.0F}));
  EXPECT_FALSE(watch.look({94.0F, 61.0F}));
  EXPECT_EQ(watch.look({96.0F, 62.0F}), "limit PC0C=60: the key shows 62");
}

}  // namespace
}  // namespace engine
