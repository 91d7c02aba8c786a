#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/plan/plan.h"

namespace lab {

/// Somebody's record of how busy a machine was: which columns, and in which units.
struct UtilisationLayout {
  std::string time = "1";
  double time_unit_s = 1;
  std::string column = "2";
  enum class Unit { part, percent, automatic };  ///< automatic: percent if any is above 1
  Unit unit = Unit::automatic;
};

/// The utilisation in a table as a profile of the duty: each value from its instant on, the last
/// one for as long as the one before. A cell that is no number repeats the one before it; what goes
/// slightly beyond 0 to 1 is held there. `name` stands for the file in messages. Throws CsvError,
/// and PlanError for values that are no utilisation.
std::vector<ProfilePoint> parse_utilisation(std::string_view text, const std::string& name,
                                            const UtilisationLayout& layout);

}  // namespace lab
