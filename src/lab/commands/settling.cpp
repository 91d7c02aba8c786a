#include "lab/commands/settling.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "lab/analysis/approach.h"

namespace lab {

namespace {

constexpr double kLeast_s = 10;
constexpr double kStill_K = 0.1;

bool settled(const Column& column, std::span<const double> time_s, std::size_t first_row,
             double part) {
  const std::span<const double> values =
      std::span<const double>(column.values).subspan(first_row, time_s.size());
  // What is fast is over after a third of the time: the rest tells how the slow part goes on.
  const std::size_t third = values.size() / 3;
  const double way = std::abs(values.back() - values.front());
  return approach(time_s.subspan(third), values.subspan(third)).to_come <=
         std::max(kStill_K, part * way);
}

}  // namespace

bool all_settled(const Table& table, std::size_t first_row, double part) {
  if (table.time_s.size() <= first_row) {
    return false;
  }
  const std::span<const double> time_s = std::span<const double>(table.time_s).subspan(first_row);
  if (time_s.back() - time_s.front() < kLeast_s) {
    return false;
  }
  return std::all_of(table.columns.begin(), table.columns.end(), [&](const Column& column) {
    return column.unit != "degC" || settled(column, time_s, first_row, part);
  });
}

}  // namespace lab
