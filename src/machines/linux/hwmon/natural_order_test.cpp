#include "machines/linux/hwmon/natural_order.h"

#include <gtest/gtest.h>

#include <string>

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

TEST(NaturalOrder, NumbersBehindAColonAreHexadecimal) {
  const std::string node = "devices/pci0000:00/0000:00:";
  EXPECT_TRUE(natural_less(node + "18.3", node + "19.3"));
  EXPECT_TRUE(natural_less(node + "19.3", node + "1a.3"));
  EXPECT_FALSE(natural_less(node + "1a.3", node + "19.3"));
  EXPECT_TRUE(natural_less(node + "1f.3/hwmon/hwmon2", node + "1f.3/hwmon/hwmon10"));
  EXPECT_TRUE(natural_less("devices/pci0000:7f/x", "devices/pci0000:e0/x"));
  EXPECT_TRUE(natural_less("0000:e1:00.0", "10000:01:00.0")) << "a longer domain is a higher one";
  EXPECT_TRUE(natural_less("intel-rapl:9", "intel-rapl:a"));
  EXPECT_TRUE(natural_less("intel-rapl:f", "intel-rapl:10"));
}

// Whatever is sorted with it: an order that goes round in a circle is none.
TEST(NaturalOrder, AddressesComeBeforeOtherNames) {
  EXPECT_TRUE(natural_less("b:0", "a:000"));
  EXPECT_TRUE(natural_less("a:000", "aa"));
  EXPECT_TRUE(natural_less("b:0", "aa"));
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
