#include "keys/options.h"

#include <gtest/gtest.h>

#include <vector>

namespace vorn_keys {
namespace {

/// What the arguments behind the program's name ask for.
std::optional<Action> parse(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "vorn-keys");
  std::vector<char*> argv;
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  return parse_arguments(static_cast<int>(arguments.size()), argv.data());
}

/// The same, where getopt complains.
std::optional<Action> parse_wrong(std::vector<std::string> arguments) {
  testing::internal::CaptureStderr();
  const std::optional<Action> action = parse(std::move(arguments));
  EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("vorn-keys: "));
  return action;
}

TEST(Options, AskForTheListUnlessTheySayOtherwise) {
  EXPECT_EQ(parse({}), Action::list);
  EXPECT_EQ(parse({"--"}), Action::list);
}

TEST(Options, AskForOneActionEach) {
  EXPECT_EQ(parse({"--list"}), Action::list);
  EXPECT_EQ(parse({"--check"}), Action::check);
  EXPECT_EQ(parse({"--calibrate"}), Action::calibrate);
  EXPECT_EQ(parse({"--restore"}), Action::restore);
  EXPECT_EQ(parse({"--help"}), Action::help);
  EXPECT_EQ(parse({"--version"}), Action::version);
  EXPECT_EQ(parse({"-h"}), Action::help);
  EXPECT_EQ(parse({"-v"}), Action::version);
}

TEST(Options, MayBeSaidTwice) {
  EXPECT_EQ(parse({"--check", "--check"}), Action::check);
  EXPECT_EQ(parse({"-h", "--help"}), Action::help);
}

TEST(Options, OfTwoActionsAreWrong) {
  EXPECT_EQ(parse({"--list", "--check"}), std::nullopt);
  EXPECT_EQ(parse({"--calibrate", "--restore"}), std::nullopt);
  EXPECT_EQ(parse({"-hv"}), std::nullopt);
}

TEST(Options, ThatDoNotExistAreWrong) {
  EXPECT_EQ(parse_wrong({"--unknown"}), std::nullopt);
  EXPECT_EQ(parse_wrong({"-l"}), std::nullopt);
  EXPECT_EQ(parse_wrong({"--check=all"}), std::nullopt);
  EXPECT_EQ(parse_wrong({"--list", "--unknown"}), std::nullopt);
}

TEST(Options, TakeNoOperands) {
  EXPECT_EQ(parse({"F0Tg"}), std::nullopt);
  EXPECT_EQ(parse({"--check", "F0Tg"}), std::nullopt);
  EXPECT_EQ(parse({"--", "--check"}), std::nullopt);
}

TEST(Options, AreReadAnewEachTime) {
  ASSERT_EQ(parse({"--check", "--restore"}), std::nullopt);
  EXPECT_EQ(parse({"--restore"}), Action::restore);
  EXPECT_EQ(parse({"--check"}), Action::check);
}

TEST(Usage, NamesTheProgramEveryOptionAndTheExitStatus) {
  const std::string text = usage("vorn-keys-sim");
  EXPECT_TRUE(text.starts_with("Usage: vorn-keys-sim ")) << text;
  for (const char* part : {"--list", "--check", "--calibrate", "--restore", "-h, --help",
                           "-v, --version", "Exit status: 0"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part;
  }
  EXPECT_TRUE(text.ends_with("\n"));
}

}  // namespace
}  // namespace vorn_keys
