#include "lab/live/quantity.h"

#include <gtest/gtest.h>

#include "lab/fakes/fake_run.h"

namespace lab {
namespace {

TEST(Quantity, AValueHasTheDecimalsOfItsUnit) {
  EXPECT_EQ(number(54.26, "degC"), "54.3");
  EXPECT_EQ(number(71.954, "W"), "71.95");
  EXPECT_EQ(number(1.0504, "V"), "1.050");
  EXPECT_EQ(number(2399.6, "RPM"), "2400");
  EXPECT_EQ(number(1234567, "J"), "1.235e+06");
}

TEST(Quantity, WhatWasNotMeasuredIsNoNumber) {
  EXPECT_EQ(number(kNotMeasured, "W"), "-");
  EXPECT_EQ(percent(kNotMeasured), "-");
}

TEST(Quantity, AHugeValueStaysShort) {
  EXPECT_EQ(number(1e30, "degC"), "1e+30");
}

TEST(Quantity, TheSignOfDegreesNeedsUtf8) {
  EXPECT_EQ(written_unit("degC", kBare), "°C");
  EXPECT_EQ(written_unit("degC", kBareAscii), "degC");
  EXPECT_EQ(written_unit("W", kBare), "W");
}

TEST(Quantity, TimesAreReadAsOnAClock) {
  EXPECT_EQ(minutes_and_seconds(-3), "0:00");
  EXPECT_EQ(minutes_and_seconds(59.9), "0:59");
  EXPECT_EQ(minutes_and_seconds(128), "2:08");
  EXPECT_EQ(minutes_and_seconds(3728), "1:02:08");
}

}  // namespace
}  // namespace lab
