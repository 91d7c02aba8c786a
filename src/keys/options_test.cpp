#include "keys/options.h"

#include <gtest/gtest.h>

#include <vector>

namespace vorn_keys {
namespace {

/// What the arguments behind the program's name ask for.
std::optional<Request> parse(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "vorn-keys");
  std::vector<char*> argv;
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  return parse_arguments(static_cast<int>(arguments.size()), argv.data());
}

Request asks(Action action, const std::string& operand = "") {
  return {action, operand};
}

/// The same, where getopt complains.
std::optional<Request> parse_wrong(std::vector<std::string> arguments) {
  testing::internal::CaptureStderr();
  const std::optional<Request> request = parse(std::move(arguments));
  EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("vorn-keys: "));
  return request;
}

TEST(Options, AskForTheListUnlessTheySayOtherwise) {
  EXPECT_EQ(parse({}), asks(Action::list));
  EXPECT_EQ(parse({"--"}), asks(Action::list));
}

TEST(Options, AskForOneActionEach) {
  EXPECT_EQ(parse({"--list"}), asks(Action::list));
  EXPECT_EQ(parse({"--check"}), asks(Action::check));
  EXPECT_EQ(parse({"--calibrate"}), asks(Action::calibrate));
  EXPECT_EQ(parse({"--restore"}), asks(Action::restore));
  EXPECT_EQ(parse({"--help"}), asks(Action::help));
  EXPECT_EQ(parse({"--version"}), asks(Action::version));
  EXPECT_EQ(parse({"-h"}), asks(Action::help));
  EXPECT_EQ(parse({"-v"}), asks(Action::version));
}

TEST(Options, NameTheFileOfARecord) {
  EXPECT_EQ(parse({"--record", "my machine"}), asks(Action::record, "my machine"));
  EXPECT_EQ(parse({"--on=a.machine"}), asks(Action::list_record, "a.machine"));
  EXPECT_EQ(parse_wrong({"--record"}), std::nullopt);
  EXPECT_EQ(parse_wrong({"--on"}), std::nullopt);
  EXPECT_EQ(parse({"--on", "a", "b"}), std::nullopt);
}

TEST(Options, MayBeSaidTwice) {
  EXPECT_EQ(parse({"--check", "--check"}), asks(Action::check));
  EXPECT_EQ(parse({"-h", "--help"}), asks(Action::help));
  EXPECT_EQ(parse({"--on", "a", "--on", "a"}), asks(Action::list_record, "a"));
  EXPECT_EQ(parse({"--on", "a", "--on", "b"}), std::nullopt);
}

TEST(Options, AFansNumberIsAskedForAsItIs) {
  EXPECT_EQ(parse({"--assign", "F0=a/fan2"}), asks(Action::assign, "F0=a/fan2"));
  EXPECT_EQ(parse({"--assign", "F0=a/fan2", "--assign", "F1=a/fan1"}), std::nullopt);
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
  EXPECT_EQ(parse({"--restore"}), asks(Action::restore));
  EXPECT_EQ(parse({"--check"}), asks(Action::check));
}

TEST(Usage, NamesTheProgramEveryOptionAndTheExitStatus) {
  const std::string text = usage("vorn-keys-sim");
  EXPECT_TRUE(text.starts_with("Usage: vorn-keys-sim ")) << text;
  for (const char* part :
       {"--list", "--check", "--calibrate", "--restore", "--assign FN=DEVICE/fanM", "--record FILE",
        "--on FILE", "-h, --help", "-v, --version", "Exit status: 0"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part;
  }
  EXPECT_TRUE(text.ends_with("\n"));
}

}  // namespace
}  // namespace vorn_keys
