#include "lab/analysis/run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace lab {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

Table steady_run() {
  Table table;
  table.columns = {{std::string(kPhaseColumn), "", "", {}},
                   {std::string(kAskedColumn), "", "", {}},
                   {std::string(kDeliveredColumn), "", "", {}},
                   {"PC0C", "W", "", {}},
                   {"TC0D", "degC", "", {}}};
  for (int at = 0; at < 600; ++at) {
    table.time_s.push_back(0.1 * at);
    const double wave = std::sin(0.9 * at);
    const double values[] = {0, 1, 0.99, 80 + wave, 60 + 0.2 * wave};
    for (std::size_t column = 0; column < 5; ++column) {
      table.columns[column].values.push_back(values[column]);
    }
  }
  return table;
}

TEST(Run, TellsPowerAndTemperatures) {
  const Answer answer = analyse_run(steady_run());
  EXPECT_TRUE(answer.decided);
  EXPECT_THAT(answer.sentences, ElementsAre(HasSubstr("PC0C was 80"), HasSubstr("TC0D was 60")));
  EXPECT_THAT(answer.sentences[0], HasSubstr("between 79.0 and 81.0 W."));
  EXPECT_THAT(answer.warnings, testing::IsEmpty());
  EXPECT_FALSE(answer.figures["keys"].contains("phase"));
  EXPECT_NEAR(answer.figures["keys"]["TC0D"]["mean"]["value"].get<double>(), 60, 0.01);
  EXPECT_EQ(answer.figures["keys"]["TC0D"]["mean"]["unit"], "degC");
  ASSERT_EQ(answer.tables.size(), 2U);
  for (const ResultTable& told : answer.tables) {
    for (const auto& row : told.rows) {
      EXPECT_EQ(row.size(), told.head.size());
    }
  }
}

TEST(Run, WhatWasAskedForIsNoKeyAndHasNoInterval) {
  const Answer answer = analyse_run(steady_run());
  EXPECT_FALSE(answer.figures["keys"].contains("asked"));
  EXPECT_FALSE(answer.figures["keys"].contains("delivered"));
  EXPECT_EQ(answer.figures["load"]["asked"]["mean"], 1);
  EXPECT_NEAR(answer.figures["load"]["delivered"]["maximum"].get<double>(), 0.99, 1e-9);
  for (const auto& row : answer.tables[1].rows) {
    for (const ResultTable::Cell& cell : row) {
      EXPECT_TRUE(std::holds_alternative<std::string>(cell));
    }
  }
}

TEST(Run, TellsEachPhaseByItself) {
  Table table = steady_run();
  for (std::size_t at = 300; at < 600; ++at) {
    table.columns[0].values[at] = 1;
    table.columns[4].values[at] += 10;
  }
  const Answer answer = analyse_run(table, {.phases = {"cold", "hot"}});
  ASSERT_EQ(answer.tables.size(), 3U);
  const ResultTable& phases = answer.tables[1];
  ASSERT_EQ(phases.rows.size(), 4U);
  EXPECT_EQ(std::get<std::string>(phases.rows[1][0]), "cold");
  EXPECT_NEAR(std::get<Estimate>(phases.rows[1][3]).value, 60, 0.1);
  EXPECT_EQ(std::get<std::string>(phases.rows[3][0]), "hot");
  EXPECT_NEAR(std::get<Estimate>(phases.rows[3][3]).value, 70, 0.1);
  ASSERT_EQ(answer.figures["phases"].size(), 2U);
  EXPECT_EQ(answer.figures["phases"][1]["name"], "hot");
  EXPECT_NEAR(answer.figures["phases"][1]["begin"].get<double>(), 30, 1e-9);
  EXPECT_NEAR(answer.figures["phases"][1]["keys"]["TC0D"]["mean"]["value"].get<double>(), 70, 0.1);
}

TEST(Run, SaysWhatIsMissingMovingOrNotDelivered) {
  Table table = steady_run();
  for (std::size_t at = 0; at < 600; ++at) {
    table.columns[2].values[at] = 0.7;
    table.columns[4].values[at] = 30 + 0.05 * static_cast<double>(at);
    if (at % 10 == 0) {
      table.columns[3].values[at] = NAN;
    }
  }
  table.columns.push_back({"TB0T", "degC", "", std::vector<double>(600, NAN)});
  EXPECT_THAT(analyse_run(table).warnings,
              ElementsAre(HasSubstr("60 of 600 values of PC0C are missing"),
                          HasSubstr("TC0D was still moving at the end"),
                          HasSubstr("TB0T was never read"), HasSubstr("Only 70 % of the load")));
  EXPECT_TRUE(analyse_run(table).figures["keys"]["TB0T"]["mean"]["value"].is_null());
}

TEST(Run, OfNothingSaysSo) {
  const Answer answer = analyse_run({});
  EXPECT_FALSE(answer.decided);
  EXPECT_THAT(answer.sentences, ElementsAre("Nothing was measured."));
}

}  // namespace
}  // namespace lab
