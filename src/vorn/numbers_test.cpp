#include "vorn/numbers.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

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

TEST(ParseWhole, TakesEveryBaseOfStrtol) {
  EXPECT_EQ(parse_whole("16"), 16);
  EXPECT_EQ(parse_whole("0x10"), 16);
  EXPECT_EQ(parse_whole("010"), 8);
  EXPECT_EQ(parse_whole("-2"), -2);
}

TEST(ParseWhole, RejectsAnEmptyTextAndAnythingBehindTheNumber) {
  EXPECT_FALSE(parse_whole(""));
  EXPECT_FALSE(parse_whole("4x"));
  EXPECT_FALSE(parse_whole("x"));
  EXPECT_FALSE(parse_whole("4 "));
}

TEST(ParseWhole, SaturatesLikeStrtol) {
  EXPECT_EQ(parse_whole("99999999999999999999999"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(parse_whole("-99999999999999999999999"), std::numeric_limits<std::int64_t>::min());
}

TEST(ToInt32, SaturatesAtBothEnds) {
  EXPECT_EQ(to_int32(2147483647), 2147483647);
  EXPECT_EQ(to_int32(0x80000000), 2147483647);
  EXPECT_EQ(to_int32(-2147483649), std::numeric_limits<std::int32_t>::min());
}

TEST(ToBits32, KeepsTheBitsOfAnythingThatThirtyTwoOfThemHold) {
  EXPECT_EQ(to_bits32(0), 0U);
  EXPECT_EQ(to_bits32(3000000000), 3000000000U);
  EXPECT_EQ(to_bits32(0xFFFFFFFF), 0xFFFFFFFFU);
  EXPECT_EQ(to_bits32(-1), 0xFFFFFFFFU);
  EXPECT_EQ(to_bits32(-2147483648), 0x80000000U);
}

TEST(ToBits32, SaturatesBeyond) {
  EXPECT_EQ(to_bits32(0x100000000), 0xFFFFFFFFU);
  EXPECT_EQ(to_bits32(-2147483649), 0x80000000U);
}

TEST(ParseDouble, TakesAllThatStrtodTakes) {
  EXPECT_EQ(parse_double("0.25"), 0.25);
  EXPECT_EQ(parse_double("1e3"), 1000.0);
}

TEST(ParseDouble, RejectsAnEmptyTextAndAnythingBehindTheNumber) {
  EXPECT_FALSE(parse_double(""));
  EXPECT_FALSE(parse_double("1Hz"));
}

TEST(AppendNumber, WritesSixSignificantDigitsAtMostBehindTheText) {
  std::string text = "-f ";
  append_number(text, 0.1);
  append_number(text, -1234567.0);
  EXPECT_EQ(text, "-f 0.1-1.23457e+06");
}

}  // namespace
