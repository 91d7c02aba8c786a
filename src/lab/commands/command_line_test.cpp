#include "lab/commands/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <sstream>

namespace lab {
namespace {

using testing::HasSubstr;
using testing::Not;

/// What the program says of these words; empty if it takes them.
std::string complaint(const std::string& words) {
  CommandLine line("vorn-lab");
  std::ostringstream said;
  try {
    line.app().parse(words);
  } catch (const CLI::ParseError& error) {
    line.app().exit(error, said, said);
    EXPECT_THAT(said.str(), HasSubstr(line.complaint(error)));
  }
  return said.str();
}

TEST(CommandLine, PointsToTheHelpOfTheCommandThatWasTyped) {
  EXPECT_THAT(complaint("fit a.csv --heatt 5"), HasSubstr("\"vorn-lab fit --help\""));
  EXPECT_THAT(complaint("plan step --heatt 5"), HasSubstr("\"vorn-lab plan step --help\""));
  EXPECT_THAT(complaint("plam"), HasSubstr("\"vorn-lab --help\""));
  EXPECT_THAT(complaint("fit"), HasSubstr("\"vorn-lab fit --help\""));
}

TEST(CommandLine, NamesWhatItDoesNotExpectAsItWasTyped) {
  EXPECT_THAT(complaint("fit a.csv --heatt 5"), HasSubstr("not expected: --heatt 5\n"));
}

TEST(CommandLine, NamesACommandThatThereIsNot) {
  EXPECT_THAT(complaint("plam"), HasSubstr("there is no command \"plam\""));
  EXPECT_THAT(complaint("plan fit"), HasSubstr("there is no plan of \"fit\""));
}

TEST(CommandLine, SaysThatRunHasNoPlanOfItsOwn) {
  EXPECT_THAT(complaint("plan run"), HasSubstr("run has no plan of its own"));
  EXPECT_THAT(complaint("plan run"), Not(HasSubstr("no command")));
}

}  // namespace
}  // namespace lab
