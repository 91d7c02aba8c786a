#include "lab/folder/samples_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <limits>

#include "lab/folder/folder_error.h"
#include "lab/folder/whole_file.h"

namespace lab {
namespace {

const double kUnknown = std::numeric_limits<double>::quiet_NaN();

class SamplesFileTest : public testing::Test {
 protected:
  ~SamplesFileTest() override { std::filesystem::remove(path_); }

  const std::string path_ = testing::TempDir() + "samples." + std::to_string(getpid()) + ".csv";
};

TEST_F(SamplesFileTest, WhatIsWrittenReadsAsTheSameNumbers) {
  SamplesWriter writer(path_, {"asked", "TC0D"});
  writer.add(0, {0, 33.5});
  writer.add(0.1, {1.0 / 3, kUnknown});
  EXPECT_EQ(writer.lost(), 0U);
  const std::string text = read_whole(path_);
  EXPECT_THAT(text, testing::StartsWith("time_s,asked,TC0D\n0,0,33.5\n"));

  const Table table = parse_samples(text, path_);
  EXPECT_THAT(table.time_s, testing::ElementsAre(0, 0.1));
  EXPECT_THAT(table.find("asked")->values, testing::ElementsAre(0, 1.0 / 3));
  EXPECT_EQ(table.find("TC0D")->values[0], 33.5);
  EXPECT_TRUE(std::isnan(table.find("TC0D")->values[1]));
  EXPECT_EQ(table.find("TC0P"), nullptr);
}

TEST_F(SamplesFileTest, NamesMayHoldCommasAndQuotes) {
  const std::string name = "die, \"hot\" side";
  {
    SamplesWriter writer(path_, {name, "\"", "plain"});
    writer.add(0, {1, 2, 3});
  }
  const Table table = parse_samples(read_whole(path_), path_);
  ASSERT_EQ(table.columns.size(), 3U);
  EXPECT_EQ(table.columns[0].name, name);
  EXPECT_EQ(table.columns[1].name, "\"");
  EXPECT_EQ(table.columns[2].name, "plain");
  EXPECT_THAT(table.columns[2].values, testing::ElementsAre(3));
}

TEST_F(SamplesFileTest, ALastLineThatIsNotWholeIsLeftOut) {
  EXPECT_EQ(parse_samples("time_s,a\n0,1\n1,2\n2,", "x").time_s.size(), 2U);
}

TEST_F(SamplesFileTest, AnotherFormIsRefusedWithItsLine) {
  const auto refusal = [](const char* text) -> std::string {
    try {
      parse_samples(text, "x.csv");
    } catch (const FolderError& error) {
      return error.what();
    }
    return "";
  };
  EXPECT_EQ(refusal("a,b\n"), "x.csv:1: its first column is not time_s");
  EXPECT_EQ(refusal("time_s,a\n0\n"), "x.csv:2: 1 columns, not 2");
  EXPECT_EQ(refusal("time_s,a\n0,hot\n"), "x.csv:2: \"hot\" is not a number");
  EXPECT_EQ(refusal(""), "");  // killed before the head was whole
}

TEST_F(SamplesFileTest, AFullDiskLosesLinesAndCountsThem) {
  if (!std::filesystem::exists("/dev/full")) {
    GTEST_SKIP() << "needs /dev/full";
  }
  EXPECT_THROW(SamplesWriter("/dev/full", {"a"}), FolderError);
}

TEST_F(SamplesFileTest, APlaceThatCannotBeWrittenIsNamed) {
  EXPECT_THROW(SamplesWriter("/nowhere/samples.csv", {"a"}), FolderError);
}

}  // namespace
}  // namespace lab
