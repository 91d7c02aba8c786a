#include "lab/questions/utilisation.h"

#include <algorithm>
#include <cmath>

#include "lab/folder/csv_table.h"
#include "lab/plan/plan_error.h"

namespace lab {

namespace {

constexpr double kBeyond = 0.02;  // what rounding and a busy kernel's accounts may add

std::size_t first_number(const std::vector<double>& values) {
  return static_cast<std::size_t>(std::find_if(values.begin(), values.end(),
                                               [](double value) { return std::isfinite(value); }) -
                                  values.begin());
}

}  // namespace

std::vector<ProfilePoint> parse_utilisation(std::string_view text, const std::string& name,
                                            const UtilisationLayout& layout) {
  const Table table =
      parse_csv(text, name, {.time = layout.time, .time_unit_s = layout.time_unit_s}).table;
  const std::vector<double>& values =
      table.columns[column_index(table, layout.column, name)].values;
  const std::size_t first = first_number(values);
  if (first == values.size()) {
    throw PlanError(name + ": no number in column \"" + layout.column +
                    "\": --utilisation names the column that is played");
  }
  const auto above_1 = [](double value) { return value > 1 + kBeyond; };
  using Unit = UtilisationLayout::Unit;
  const bool percent =
      layout.unit == Unit::percent ||
      (layout.unit == Unit::automatic && std::any_of(values.begin(), values.end(), above_1));
  std::vector<ProfilePoint> profile;
  double last = values[first];
  for (std::size_t row = 0; row < values.size(); ++row) {
    last = std::isfinite(values[row]) ? values[row] : last;
    const double part = percent ? last / 100 : last;
    if (part < -kBeyond || above_1(part)) {
      throw PlanError(name + ": a utilisation of " + std::to_string(last) + " at " +
                      std::to_string(table.time_s[row]) +
                      " s: it is to be from 0 to 1, or in per cent from 0 to 100");
    }
    profile.push_back({.time_s = table.time_s[row], .duty = std::clamp(part, 0.0, 1.0)});
  }
  const double before_s = table.time_s[table.time_s.size() - 2];
  profile.push_back({.time_s = 2 * table.time_s.back() - before_s, .duty = 0});
  return profile;
}

}  // namespace lab
