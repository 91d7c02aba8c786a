#include "engine/sample_header.h"

#include <gtest/gtest.h>

namespace engine {
namespace {

using Lines = std::vector<std::string>;

TEST(SampleHeader, NamesEachColumnWithItsUnitAndSource) {
  const std::vector<inspection::Key> known = {{.name = "TC0D", .source = "coretemp"},
                                              {.name = "PC0C", .source = "package-0"},
                                              {.name = "F0Ac", .source = "nct6798"}};
  EXPECT_EQ(sample_header({"PC0C", "TC0D", "F0Ac"}, known),
            (Lines{"# time\ts\tsince the first sample\n", "# PC0C\tW\tpackage-0\n",
                   "# TC0D\tdegrees C\tcoretemp\n", "# F0Ac\tRPM\tnct6798\n",
                   "#time\tPC0C\tTC0D\tF0Ac\n"}));
}

TEST(SampleHeader, AKeyThatTheMachineDoesNotListHasNoKnownSource) {
  EXPECT_EQ(sample_header({"MSDI"}, {}), (Lines{"# time\ts\tsince the first sample\n",
                                                "# MSDI\t-\tunknown\n", "#time\tMSDI\n"}));
}

}  // namespace
}  // namespace engine
