#include "lab/report/base64.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(Base64, HasTheBytesOfTheNumbersLowestFirst) {
  EXPECT_EQ(base64_floats({}), "");
  EXPECT_EQ(base64_floats({1.0}), "AACAPw==");
  EXPECT_EQ(base64_floats({1.0, -2.5}), "AACAPwAAIMA=");
  EXPECT_EQ(base64_doubles({1.0}), "AAAAAAAA8D8=");
}

TEST(Base64, MakesWhatAFloatCannotHoldInfinite) {
  EXPECT_EQ(base64_floats({1e300}), base64_floats({1e39}));
  EXPECT_EQ(base64_floats({-1e300}), "AACA/w==");
}

}  // namespace
}  // namespace lab
