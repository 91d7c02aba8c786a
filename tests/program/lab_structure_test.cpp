#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "program/lab_program.h"

// The structure of a table and of a run, through the program.

namespace {

namespace fs = std::filesystem;
using program::Outcome;
using testing::HasSubstr;
using Json = nlohmann::json;

class LabStructure : public lab_program::Lab {
 protected:
  /// Two rungs, 0.2 K/W and 5 J/K, then 0.3 K/W and 100 J/K: explicit steps of 1 ms.
  void write_table() const {
    std::ofstream file(place_ / "measured.csv");
    file << "s,W,die,sink\n";
    double die = 0;
    double sink = 0;
    for (int row = 0; row <= 4000; ++row) {
      const double watts = row > 50 && row <= 2000 ? 40 : 0;
      for (int part = 0; row > 0 && part < 100; ++part) {
        const double flow = (die - sink) / 0.2;
        die += (watts - flow) / 5 * 1e-3;
        sink += (flow - sink / 0.3) / 100 * 1e-3;
      }
      file << 0.1 * row << ',' << watts << ',' << 25 + die << ',' << 25 + sink << '\n';
    }
  }
};

TEST_F(LabStructure, OfATableIsItsLadder) {
  write_table();
  const std::string table = place_ / "measured.csv";
  const std::string folder = place_ / "fitted";
  const Outcome outcome =
      run(lab({"fit", table, "--power", "W", "--structure", "--json", "--out", folder}));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  Json result = Json::parse(outcome.out);
  EXPECT_EQ(result["heated"], "die");
  EXPECT_EQ(result["keys"]["sink"]["impedance"], "transfer");
  ASSERT_EQ(result["ladder"].size(), 2U);
  EXPECT_NEAR(result["ladder"][0]["resistance"]["value"], 0.2, 0.002);
  EXPECT_NEAR(result["ladder"][0]["capacitance"]["value"], 5, 0.05);
  EXPECT_NEAR(result["ladder"][1]["resistance"]["value"], 0.3, 0.003);
  EXPECT_NEAR(result["ladder"][1]["capacitance"]["value"], 100, 1);

  const std::string report = read(fs::path(folder) / "report.html");
  EXPECT_THAT(report, HasSubstr("Cumulative structure function"));
  EXPECT_THAT(report, HasSubstr("Differential structure function"));

  // The folder remembers what was asked.
  const Outcome again = run(lab({"report", folder}));
  EXPECT_EQ(again.status, 0);
  EXPECT_THAT(again.out, HasSubstr("From die outwards: "));
  EXPECT_THAT(again.out, HasSubstr("transfer impedance"));
  EXPECT_EQ(run(lab({"plot", folder, "--chart", "cumulative", "--to", place_ / "c.svg"})).status,
            0);
}

TEST_F(LabStructure, IsNotToldUnlessItIsAsked) {
  write_table();
  const Outcome outcome = run(
      lab({"fit", place_ / "measured.csv", "--power", "W", "--json", "--out", place_ / "plain"}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_FALSE(Json::parse(outcome.out).contains("ladder"));
  EXPECT_THAT(read(place_ / "plain" / "report.html"),
              testing::Not(HasSubstr("structure function")));
}

TEST_F(LabStructure, OfAStepIsInItsPlanAndItsResult) {
  const Outcome plan = run(lab({"plan", "step", "--structure"}));
  EXPECT_EQ(plan.status, 0);
  EXPECT_THAT(plan.out, HasSubstr("\nstructure = true"));
  const Outcome outcome =
      run(lab({"step", "--structure", "--quiet", "--json", "--out", place_ / "run", "--threads",
               "1", "--load", "bspin", "--idle", "0.5", "--heat", "3", "--cool", "2"}));
  EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << outcome.err;
  Json result = Json::parse(outcome.out);
  EXPECT_EQ(result["question"], "step");
  ASSERT_TRUE(result["ladder"].is_array());
  for (Json& rung : result["ladder"]) {
    EXPECT_GT(rung["resistance"]["value"], 0);
    EXPECT_GT(rung["capacitance"]["value"], 0);
  }
}

}  // namespace
