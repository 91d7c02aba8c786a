#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "program/tree_machine.h"
#include "program/vorn_program.h"

// A machine as a text: vorn-keys --record and --on.

namespace {

using program::As;
using program::Command;
using program::Outcome;

Outcome run_keys(const std::string& path, std::vector<std::string> arguments) {
  Command command;
  command.path = path;
  command.called = "vorn-keys";
  command.arguments = std::move(arguments);
  command.as = As::kOrdinaryUser;
  return program::run(command);
}

/// A listing without the values of powers, which are never the same twice.
std::string without_powers(const std::string& listing) {
  return std::regex_replace(listing, std::regex("(\nP[^\t]*\t[^\t]*\t2\t)[0-9.]+\t"), "$1W\t");
}

double power_in(const std::string& listing) {
  std::smatch match;
  EXPECT_TRUE(std::regex_search(listing, match, std::regex("\nPC0C\t[^\t]*\t2\t([0-9.]+)\tW\t")))
      << listing;
  return match.empty() ? 0.0 : std::stod(match[1]);
}

class MachineRecord : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override { SKIP_UNLESS_MAY_RUN(As::kRoot); }
};

TEST_P(MachineRecord, ListsTheKeysOfTheMachine) {
  TreeMachine machine(GetParam());
  const std::string file = machine.folder() + "/record";
  // A power is the difference of two readings of a counter, over that of the clock. A process that
  // is held up between counter and clock gets a wrong one, though not at each of a few tries.
  constexpr int kTries = 5;
  double apart = 1;
  for (int tries = 0; tries < kTries && apart > 0.02; ++tries) {
    const Outcome recorded = program::run(machine.keys({"--record", file}));
    EXPECT_EQ(recorded.err, "");
    ASSERT_EQ(recorded.status, 0);
    const Outcome listed = program::run(machine.keys({"--list"}));
    const Outcome on_record = run_keys(VORN_KEYS_PROGRAM, {"--on", file});
    EXPECT_EQ(without_powers(on_record.out), without_powers(listed.out));
    EXPECT_EQ(on_record.status, listed.status);
    apart = listed.out.find("\nPC0C") == std::string::npos
                ? 0
                : std::abs(power_in(on_record.out) / power_in(listed.out) - 1);
  }
  EXPECT_LE(apart, 0.02);
}

INSTANTIATE_TEST_SUITE_P(On, MachineRecord,
                         testing::Values("two_socket_intel", "desktop_amd", "laptop_intel_hwp"));

class RecordOfAMachine : public testing::Test {
 protected:
  void SetUp() override { SKIP_UNLESS_MAY_RUN(As::kRoot); }

  Outcome run(std::vector<std::string> arguments, As as = As::kRoot) {
    return program::run(machine_.keys(std::move(arguments), as));
  }

  TreeMachine machine_{"two_socket_intel"};
};

TEST_F(RecordOfAMachine, MarksWhatAnOrdinaryUserCouldNotRead) {
  const Outcome by_user = run({"--record", "-"}, As::kOrdinaryUser);
  EXPECT_NE(by_user.out.find("/energy_uj ! EACCES\n"), std::string::npos) << by_user.out;
  EXPECT_EQ(by_user.status, 0);
  const Outcome by_root = run({"--record", "-"});
  EXPECT_TRUE(
      std::regex_search(by_root.out, std::regex("\n0400 [^\n]*/energy_uj = [0-9]+\n\\+1\\.")))
      << by_root.out;
}

// What stands in the way of an ordinary user stands in the way of a program with his rights.
TEST_F(RecordOfAMachine, IsAFileOfTheCallers) {
  if (program::kSanitized) {
    GTEST_SKIP() << "the sanitizers' runtimes refuse to run set-user-id";
  }
  const std::string secret = machine_.folder() + "/secret";
  std::ofstream(secret) << "root's own\n";
  ASSERT_EQ(chmod(secret.c_str(), 0600), 0);
  const std::string copy = machine_.folder() + "/vorn-keys";
  std::filesystem::copy_file(VORN_KEYS_PROGRAM, copy);
  ASSERT_EQ(chmod(copy.c_str(), 04755), 0);
  for (const char* option : {"--record", "--on"}) {
    const Outcome outcome = run_keys(copy, {option, secret});
    EXPECT_EQ(outcome.err, secret + ": Permission denied\n");
    EXPECT_EQ(outcome.status, 1);
  }
  std::ifstream in(secret);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "root's own\n");
}

TEST(Record, IsNotMadeOfTheSimulatedMachine) {
  const Outcome recorded = run_keys(VORN_KEYS_SIM_PROGRAM, {"--record", "-"});
  EXPECT_EQ(recorded.err,
            "the simulated machine is the same everywhere: there is nothing to record\n");
  EXPECT_EQ(recorded.status, 1);
}

TEST(Record, ThatIsNoneIsNamedWithItsLine) {
  const Outcome outcome = run_keys(VORN_KEYS_PROGRAM, {"--on", "/proc/version"});
  EXPECT_TRUE(outcome.err.starts_with("/proc/version: line 1: ")) << outcome.err;
  EXPECT_EQ(outcome.status, 1);
}

}  // namespace
