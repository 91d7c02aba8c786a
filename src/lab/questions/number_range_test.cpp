#include "lab/questions/number_range.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

std::string refusal_of(std::string text) {
  return number_from(0.5, 1000)(text);
}

TEST(NumberRange, BothEndsAreInIt) {
  EXPECT_EQ(refusal_of("0.5"), "");
  EXPECT_EQ(refusal_of("1e3"), "");
  EXPECT_EQ(refusal_of("+20"), "");
}

TEST(NumberRange, WhatIsBeyondOrNoNumberIsRefusedWithWhatWouldBeTaken) {
  EXPECT_EQ(refusal_of("0.4"), "takes a number from 0.5 to 1000, and not \"0.4\"");
  for (const char* text : {"1001", "nan", "-nan", "inf", "1e999", "", "fast", "3 ", "3W", "-1"}) {
    EXPECT_NE(refusal_of(text), "") << text;
  }
}

}  // namespace
}  // namespace lab
