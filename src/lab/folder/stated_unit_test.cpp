#include "lab/folder/stated_unit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/folder/csv_error.h"

namespace lab {
namespace {

std::string stated(const std::string& name, Measure wanted) {
  const Column column{.name = name, .unit = bracketed_unit(name), .source = {}, .values = {}};
  return stated_unit(column, wanted, "--option").value_or("");
}

TEST(StatedUnit, StandsInBracketsOrBehindTheName) {
  EXPECT_EQ(stated("Time (ms)", Measure::time), "ms");
  EXPECT_EQ(stated("t [s]", Measure::time), "s");
  EXPECT_EQ(stated("t / min", Measure::time), "min");
  EXPECT_EQ(stated("t (\xC2\xB5s)", Measure::time), "us");
  EXPECT_EQ(stated("Power_mW", Measure::power), "mW");
  EXPECT_EQ(stated("Power kW", Measure::power), "kW");
  EXPECT_EQ(stated("Tj (K)", Measure::temperature), "K");
  EXPECT_EQ(stated("T_die [\xC2\xB0\x43]", Measure::temperature), "C");
  EXPECT_EQ(stated("case degF", Measure::temperature), "F");
}

TEST(StatedUnit, IsNotSeenInNames) {
  EXPECT_EQ(stated("Sensor K", Measure::temperature), "");
  EXPECT_EQ(stated("T (die)", Measure::temperature), "");
  EXPECT_EQ(stated("T [0]", Measure::temperature), "");
  EXPECT_EQ(stated("T_min", Measure::temperature), "") << "the least one, no minutes";
  EXPECT_EQ(stated("power", Measure::power), "");
}

TEST(StatedUnit, OfSomethingElseIsRefusedWithTheRemedy) {
  try {
    stated("Power (BTU/h)", Measure::power);
    FAIL();
  } catch (const CsvError& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr("\"BTU/h\""));
    EXPECT_THAT(error.what(), testing::HasSubstr("--option"));
  }
  EXPECT_THROW(stated("Tj (K)", Measure::power), CsvError);
  EXPECT_THROW(stated("T [Reaumur]", Measure::temperature), CsvError);
}

TEST(StatedUnit, IsLeftOutOfANameThatIsAskedFor) {
  EXPECT_EQ(name_before_unit("Leistung [W]"), "Leistung");
  EXPECT_EQ(name_before_unit("Power_mW"), "Power");
  EXPECT_EQ(name_before_unit("t / s"), "t");
  EXPECT_EQ(name_before_unit("T (die)"), "T (die)");
}

}  // namespace
}  // namespace lab
