#include "vorn/numbers.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using Double = std::numeric_limits<double>;

TEST(ToUint32, TruncatesTowardsZero) {
  EXPECT_EQ(to_uint32(0.999), 0U);
  EXPECT_EQ(to_uint32(1.999), 1U);
}

TEST(ToUint32, SaturatesAtBothEnds) {
  EXPECT_EQ(to_uint32(-1.0), 0U);
  EXPECT_EQ(to_uint32(-Double::infinity()), 0U);
  EXPECT_EQ(to_uint32(4294967295.0), 4294967295U);
  EXPECT_EQ(to_uint32(4294967296.0), 4294967295U);
  EXPECT_EQ(to_uint32(Double::infinity()), 4294967295U);
}

TEST(ToUint32, TakesNotANumberAsZero) {
  EXPECT_EQ(to_uint32(Double::quiet_NaN()), 0U);
}

TEST(ParseInt32, TakesEveryBaseOfStrtol) {
  EXPECT_EQ(parse_int32("16")->value, 16);
  EXPECT_EQ(parse_int32("0x10")->value, 16);
  EXPECT_EQ(parse_int32("010")->value, 8);
  EXPECT_EQ(parse_int32("-2")->value, -2);
}

TEST(ParseInt32, RejectsAnEmptyTextAndAnythingBehindTheNumber) {
  EXPECT_FALSE(parse_int32(""));
  EXPECT_FALSE(parse_int32("4x"));
  EXPECT_FALSE(parse_int32("x"));
  EXPECT_FALSE(parse_int32("4 "));
}

TEST(ParseInt32, SaturatesAtThirtyTwoBits) {
  EXPECT_EQ(parse_int32("2147483647")->value, 2147483647);
  EXPECT_FALSE(parse_int32("2147483647")->saturated);
  EXPECT_EQ(parse_int32("0x80000000")->value, 2147483647);
  EXPECT_TRUE(parse_int32("0x80000000")->saturated);
  EXPECT_EQ(parse_int32("-2147483649")->value, std::numeric_limits<std::int32_t>::min());
  EXPECT_TRUE(parse_int32("-2147483649")->saturated);
  EXPECT_EQ(parse_int32("99999999999999999999999")->value, 2147483647);
}

TEST(ParseDouble, TakesAllThatStrtodTakes) {
  EXPECT_EQ(parse_double("0.25"), 0.25);
  EXPECT_EQ(parse_double("1e3"), 1000.0);
}

TEST(ParseDouble, RejectsAnEmptyTextAndAnythingBehindTheNumber) {
  EXPECT_FALSE(parse_double(""));
  EXPECT_FALSE(parse_double("1Hz"));
}

}  // namespace
