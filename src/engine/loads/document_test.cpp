// Holds docs/simulated-machine.md to the activities of the loads.

#include <gtest/gtest.h>

#include <fstream>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <string>

#include "Workload/activity.h"
#include "engine/loads/activities.h"

namespace {

TEST(Document, ActivitiesAreThoseOfTheLoads) {
  std::ifstream file(VORN_DOCS "/simulated-machine.md");
  const std::string document(std::istreambuf_iterator<char>(file), {});
  const struct {
    const char* loads;
    double activity;
  } kRows[] = {
      {"`mix`, `bmix`", loads::activity::kMix},
      {"`fma`, `bfma`", loads::activity::kFma},
      {"`cache`, `bcache`", loads::activity::kCache},
      {"`int`, `bint`", loads::activity::kInt},
      {"`mem`, `bmem`", loads::activity::kMem},
      {"`spin`, `bspin`, and every other thread", kOrdinaryActivity},
  };
  for (const auto& [loads, activity] : kRows) {
    std::ostringstream row;
    row << std::fixed << std::setprecision(2) << "\n| " << loads << " | " << activity << " | "
        << std::setprecision(1) << 70 * activity << " |";
    EXPECT_NE(document.find(row.str()), std::string::npos) << row.str();
  }
}

}  // namespace
