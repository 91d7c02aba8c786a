#include "SMC/truncate.h"

#include <gtest/gtest.h>

namespace {

constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float kUnbounded = std::numeric_limits<float>::infinity();

TEST(TruncateTest, WhatFitsIsTruncatedTowardZero) {
  EXPECT_EQ(truncate_saturating<int>(1.99F), 1);
  EXPECT_EQ(truncate_saturating<int>(-1.99F), -1);
  EXPECT_EQ(truncate_saturating<int>(-0.5F), 0);
  EXPECT_EQ(truncate_saturating<unsigned int>(1.99F), 1U);
  EXPECT_EQ(truncate_saturating<unsigned int>(0.99F), 0U);
}

TEST(TruncateTest, ASignedIntSaturatesAtBothEnds) {
  EXPECT_EQ(truncate_saturating<int>(2147483520.0F), 2147483520);  // the last float below 2^31
  EXPECT_EQ(truncate_saturating<int>(2147483648.0F), 2147483647);
  EXPECT_EQ(truncate_saturating<int>(kUnbounded), 2147483647);
  EXPECT_EQ(truncate_saturating<int>(-2147483520.0F), -2147483520);
  EXPECT_EQ(truncate_saturating<int>(-2147483648.0F), std::numeric_limits<int>::min());
  EXPECT_EQ(truncate_saturating<int>(-1e30F), std::numeric_limits<int>::min());
  EXPECT_EQ(truncate_saturating<int>(-kUnbounded), std::numeric_limits<int>::min());
}

TEST(TruncateTest, AnUnsignedIntSaturatesAtBothEnds) {
  EXPECT_EQ(truncate_saturating<unsigned int>(4294967040.0F), 4294967040U);  // last below 2^32
  EXPECT_EQ(truncate_saturating<unsigned int>(4294967296.0F), 4294967295U);
  EXPECT_EQ(truncate_saturating<unsigned int>(kUnbounded), 4294967295U);
  EXPECT_EQ(truncate_saturating<unsigned int>(-0.5F), 0U);
  EXPECT_EQ(truncate_saturating<unsigned int>(-5.0F), 0U);
  EXPECT_EQ(truncate_saturating<unsigned int>(-kUnbounded), 0U);
}

TEST(TruncateTest, NotANumberIsZero) {
  EXPECT_EQ(truncate_saturating<int>(kNotANumber), 0);
  EXPECT_EQ(truncate_saturating<unsigned int>(-kNotANumber), 0U);
}

}  // namespace
