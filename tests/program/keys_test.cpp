#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <sstream>

#include "program/tree_machine.h"
#include "program/vorn_program.h"

// vorn-keys: what a machine has, and what is wrong with it.

namespace {

using program::As;
using program::Command;
using program::Outcome;

Outcome run_keys(const char* path, std::vector<std::string> arguments, As as = As::kOrdinaryUser) {
  Command command;
  command.path = path;
  command.called = "vorn-keys";
  command.arguments = std::move(arguments);
  command.as = as;
  return program::run(command);
}

/// The columns of a listing's lines, the headings first.
std::vector<std::vector<std::string>> columns(const std::string& text) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> row;
    std::istringstream cells(line);
    for (std::string cell; std::getline(cells, cell, '\t');) {
      row.push_back(cell);
    }
    rows.push_back(row);
  }
  return rows;
}

TEST(Keys, ListTheSimulatedMachineInColumns) {
  const Outcome outcome = run_keys(VORN_KEYS_SIM_PROGRAM, {});
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.status, 0);
  const auto rows = columns(outcome.out);
  ASSERT_EQ(rows.size(), 20U);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"#key", "type", "size", "value", "unit", "source"}));
  ASSERT_EQ(rows[1].size(), 6U);
  const double power_w = std::stod(rows[1][3]);  // more than idle, by what the start itself costs
  EXPECT_GT(power_w, 12.7);
  EXPECT_LT(power_w, 120.0);
  EXPECT_EQ(rows[1], (std::vector<std::string>{"PC0C", "fp88", "2", rows[1][3], "W", "simulated"}));
}

TEST(Keys, FindNothingWrongWithTheSimulatedMachine) {
  EXPECT_EQ(run_keys(VORN_KEYS_SIM_PROGRAM, {"--check"}).status, 0);
  EXPECT_EQ(run_keys(VORN_KEYS_SIM_PROGRAM, {"--calibrate"}).status, 0);
  EXPECT_EQ(run_keys(VORN_KEYS_SIM_PROGRAM, {"--restore"}).status, 0);
}

TEST(Keys, PrintTheirHelpAndVersion) {
  const Outcome help = run_keys(VORN_KEYS_PROGRAM, {"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_TRUE(help.out.starts_with("Usage: vorn-keys [--list | --check")) << help.out;
  const Outcome version = run_keys(VORN_KEYS_PROGRAM, {"-v"});
  EXPECT_EQ(version.status, 0);
  EXPECT_TRUE(version.out.starts_with("Vorn ")) << version.out;
}

TEST(Keys, RefuseAWrongCommandLine) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--unknown"}, {"--list", "--check"}, {"F0Tg"}}) {
    const Outcome outcome = run_keys(VORN_KEYS_PROGRAM, arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find("Usage: vorn-keys"), std::string::npos);
    EXPECT_EQ(outcome.out, "");
  }
}

class KeysOnAMachine : public testing::Test {
 protected:
  void SetUp() override { SKIP_UNLESS_MAY_RUN(As::kRoot); }

  Outcome run(std::vector<std::string> arguments, As as = As::kRoot) {
    return program::run(machine_.keys(std::move(arguments), as), 120);
  }

  static constexpr int kPace = 20;
  TreeMachine machine_{"two_socket_intel", kPace};
};

TEST_F(KeysOnAMachine, KeepTheNumberThatAFanIsGiven) {
  const auto source_of = [this](const std::string& key) {
    for (const auto& row : columns(run({"--list"}).out)) {
      if (row.size() == 6 && row[0] == key) {
        return row[5];
      }
    }
    return std::string();
  };
  machine_.tree().keep_curves();
  ASSERT_TRUE(source_of("F0Tg").starts_with("nct6779 fan1: ")) << source_of("F0Tg");
  const Outcome given = run({"--assign", "F0=devices/platform/nct6775.656/fan3"});
  EXPECT_EQ(given.status, 0) << given.err;
  EXPECT_TRUE(source_of("F0Tg").starts_with("nct6779 fan3, assigned: ")) << source_of("F0Tg");
  EXPECT_TRUE(source_of("F1Tg").starts_with("nct6779 fan1: ")) << source_of("F1Tg");
  EXPECT_EQ(run({"--assign", "F0=nct6779/fan9"}).status, 1);
  const Outcome of_user = run({"--assign", "F0="}, As::kOrdinaryUser);
  EXPECT_EQ(of_user.status, 1);
  EXPECT_NE(of_user.err.find("needs root: sudo vorn-keys --assign F0="), std::string::npos);
}

TEST_F(KeysOnAMachine, ShowTheSourceBehindEachKey) {
  machine_.tree().keep_curves();
  // Who is held up between a counter and the clock shows another power, and is asked again.
  constexpr int kListings = 5;
  std::map<std::string, std::vector<std::string>> keys;
  double off_w = 2;
  for (int listing = 0; listing < kListings && off_w > 1; ++listing) {
    const Outcome outcome = run({"--list"});
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    keys.clear();
    for (const auto& row : columns(outcome.out)) {
      ASSERT_EQ(row.size(), 6U);
      keys[row[0]] = row;
    }
    off_w = std::abs(std::stod(keys.at("PC0C")[3]) - 2 * LiveTree::kPowerW);
  }
  EXPECT_LE(off_w, 1);
  EXPECT_EQ(keys.at("TC0D")[3], "55");
  EXPECT_NE(keys.at("TC0D")[5].find("coretemp.0"), std::string::npos);
  EXPECT_NE(keys.at("PC0C")[5].find("intel-rapl"), std::string::npos);
  EXPECT_NE(keys.at("F0Ac")[5].find("nct6779 fan"), std::string::npos);
  EXPECT_EQ(keys.at("FS! ")[3], "0");
}

TEST_F(KeysOnAMachine, MoveNoFanToListIt) {
  const auto before = machine_.tree().snapshot();
  const Outcome outcome = run({});
  EXPECT_NE(outcome.out.find("F0Mx\tfpe2\t2\tnot measured\tRPM"), std::string::npos) << outcome.out;
  EXPECT_EQ(machine_.tree().snapshot(), before);
}

TEST_F(KeysOnAMachine, SayWhatAnOrdinaryUserLacksAndTheRemedy) {
  const Outcome outcome = run({"--check"}, As::kOrdinaryUser);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.out.find("lacks  fixed priority"), std::string::npos) << outcome.out;
  EXPECT_NE(outcome.out.find("PC0C: only root may read the energy counters"), std::string::npos);
  EXPECT_NE(outcome.out.find("cap_dac_read_search+ep"), std::string::npos);
  EXPECT_NE(outcome.out.find("vorn-keys --calibrate"), std::string::npos);
}

// A measurement fails when the machine holds it up. It is repeated where time passes half as fast,
// so that a hold-up counts half as much.
TEST(Calibration, MeasuresTheFansAndKeepsTheCurves) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  Outcome outcome;
  for (int pace = 20; pace > 1 && outcome.status != 0; pace /= 2) {
    TreeMachine machine("two_socket_intel", pace);
    const auto before = machine.tree().snapshot();
    outcome = program::run(machine.keys({"--calibrate"}), 200);
    EXPECT_EQ(machine.tree().snapshot(), before);
    const Outcome listed = program::run(machine.keys({"--list"}));
    EXPECT_EQ(listed.out.find("not measured") == std::string::npos, outcome.status == 0);
  }
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("vorn fan curve 1\n"), std::string::npos) << outcome.out;
  EXPECT_NE(outcome.out.find("# kept in "), std::string::npos);
}

TEST_F(KeysOnAMachine, RestoreTellsAnOrdinaryUserThatItNeedsRoot) {
  const Outcome outcome = run({"--restore"}, As::kOrdinaryUser);
  EXPECT_EQ(outcome.out, "");
  EXPECT_NE(outcome.err.find("giving back needs root: sudo vorn-keys --restore\n"),
            std::string::npos)
      << outcome.err;
  EXPECT_EQ(outcome.status, 1);
}

TEST_F(KeysOnAMachine, RestoreSaysWhenThereIsNothingToDo) {
  const Outcome outcome = run({"--restore"});
  EXPECT_EQ(outcome.out, "nothing was left changed\n");
  EXPECT_EQ(outcome.status, 0);
}

}  // namespace
