#include "machines/linux/hwmon/natural_order.h"

#include <gtest/gtest.h>

namespace linux_machine {
namespace {

TEST(NaturalOrder, NumbersCountAsNumbers) {
  EXPECT_TRUE(natural_less("coretemp.2", "coretemp.10"));
  EXPECT_FALSE(natural_less("coretemp.10", "coretemp.2"));
  EXPECT_TRUE(natural_less("package-0-die-1", "package-1-die-0"));
  EXPECT_TRUE(natural_less("package-1-die-0", "package-10"));
  EXPECT_TRUE(natural_less("99999999999999999999998", "99999999999999999999999"));
}

TEST(NaturalOrder, TheShorterComesFirst) {
  EXPECT_TRUE(natural_less("package-1", "package-1-die-0"));
  EXPECT_TRUE(natural_less("", "a"));
  EXPECT_FALSE(natural_less("a", ""));
}

TEST(NaturalOrder, NothingComesBeforeItself) {
  EXPECT_FALSE(natural_less("a1b2", "a1b2"));
  EXPECT_FALSE(natural_less("", ""));
}

TEST(NaturalOrder, LeadingZerosDecideLast) {
  EXPECT_TRUE(natural_less("a01", "a1"));
  EXPECT_FALSE(natural_less("a1", "a01"));
  EXPECT_TRUE(natural_less("a01", "a2"));
  EXPECT_TRUE(natural_less("a0", "a1"));
}

}  // namespace
}  // namespace linux_machine
