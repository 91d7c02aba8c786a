#include "lab/report/number_text.h"

#include <gtest/gtest.h>

#include <limits>

namespace lab {
namespace {

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

EstimateText said(double value, double low, double high) {
  return estimate_text({.value = value, .low = low, .high = high, .unit = "K/W"});
}

TEST(NumberText, HasSoManySignificantDigitsAndNoTrailingZeros) {
  EXPECT_EQ(number_text(21.4987), "21.5");
  EXPECT_EQ(number_text(0.00321), "0.00321");
  EXPECT_EQ(number_text(98765.4), "98770");
  EXPECT_EQ(number_text(100), "100");
  EXPECT_EQ(number_text(-0.25), "-0.25");
  EXPECT_EQ(number_text(0), "0");
  EXPECT_EQ(number_text(-0.0), "0");
}

TEST(NumberText, HasAnExponentOnlyWhereZerosWouldHideTheDigits) {
  EXPECT_EQ(number_text(0.0001), "0.0001");
  EXPECT_EQ(number_text(0.000012), "1.2e-5");
  EXPECT_EQ(number_text(1234567), "1235000");
  EXPECT_EQ(number_text(1.5e12), "1.5e+12");
  EXPECT_EQ(number_text(1e100), "1e+100");
}

TEST(NumberText, SaysThatAValueIsNotKnown) {
  EXPECT_EQ(number_text(kNotANumber), "not known");
  EXPECT_EQ(said(kNotANumber, kNotANumber, kNotANumber).value, "not known");
}

TEST(NumberText, PutsThousandsApart) {
  EXPECT_EQ(count_text(0), "0");
  EXPECT_EQ(count_text(999), "999");
  EXPECT_EQ(count_text(864000), "864,000");
  EXPECT_EQ(count_text(-1234567), "-1,234,567");
}

TEST(NumberText, ReadsDegreesAsPeopleWriteThem) {
  EXPECT_EQ(with_unit("21", "degC"), "21 °C");
  EXPECT_EQ(with_unit("21", ""), "21");
  EXPECT_EQ(percent_text(0.4987), "49.87 %");
}

TEST(NumberText, RoundsAnEstimateToTheSecondDigitOfItsInterval) {
  const EstimateText text = said(0.41234, 0.40511, 0.41957);
  EXPECT_EQ(text.value, "0.4123");
  EXPECT_EQ(text.interval, "0.4051 to 0.4196");
  EXPECT_EQ(in_one_line(text), "0.4123 K/W (0.4051 to 0.4196)");
}

TEST(NumberText, ShowsNoDigitsThatAWideIntervalDoesNotCarry) {
  const EstimateText text = said(12345.678, 9000, 16000);
  EXPECT_EQ(text.value, "12300");
  EXPECT_EQ(text.interval, "9000 to 16000");
}

TEST(NumberText, KeepsTheZerosThatAnIntervalCarries) {
  const EstimateText text = said(2, 1.9, 2.1);
  EXPECT_EQ(text.value, "2.00");
  EXPECT_EQ(text.interval, "1.90 to 2.10");
}

TEST(NumberText, NamesTheOneBoundThatIsKnown) {
  EXPECT_EQ(said(20, 12, kInfinite).interval, "at least 12.0");
  EXPECT_EQ(said(20, -kInfinite, 28).interval, "at most 28.0");
  EXPECT_EQ(said(20, -kInfinite, kInfinite).interval, "no bounds");
}

TEST(NumberText, LeavesTheIntervalOfAnExactValueOut) {
  EXPECT_EQ(in_one_line(said(20, 20, 20)), "20 K/W");
}

TEST(NumberText, WritesSmallEstimatesWithAnExponent) {
  const EstimateText text = said(3.2e-10, 3.1e-10, 3.3e-10);
  EXPECT_EQ(text.value, "3.20e-10");
  EXPECT_EQ(text.interval, "3.10e-10 to 3.30e-10");
}

}  // namespace
}  // namespace lab
