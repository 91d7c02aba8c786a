#include "lab/commands/settling.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "lab/analysis/approach.h"

namespace lab {

namespace {

constexpr double kLeast_s = 10;
constexpr double kStill_K = 0.1;
constexpr double kClearChange = 10;  // times its noise: it tells its time constant by itself

/// A temperature on its way, and how it goes on.
struct Way {
  std::span<const double> late;  ///< what is fast is over: the rest tells how the slow part goes on
  double allowed = 0;            ///< that may still be to come
  Approach approach;
};

std::vector<Way> ways_of(const Table& table, std::span<const double> late_s, std::size_t first_row,
                         double part) {
  std::vector<Way> ways;
  for (const Column& column : table.columns) {
    if (column.unit == "degC") {
      const std::span<const double> values =
          std::span<const double>(column.values).subspan(first_row);
      Way way{.late = values.last(late_s.size()), .allowed = 0, .approach = {}};
      way.allowed = std::max(kStill_K, part * std::abs(values.back() - values.front()));
      way.approach = approach(late_s, way.late);
      ways.push_back(way);
    }
  }
  return ways;
}

bool is_clear(const Way& way) {
  return std::isfinite(way.approach.to_come) && way.approach.clearness > kClearChange;
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
  const std::span<const double> late_s = time_s.subspan(time_s.size() / 3);
  const std::vector<Way> ways = ways_of(table, late_s, first_row, part);
  const auto clearest =
      std::max_element(ways.begin(), ways.end(), [](const Way& one, const Way& other) {
        return (is_clear(one) ? one.approach.clearness : 0) <
               (is_clear(other) ? other.approach.clearness : 0);
      });
  return std::all_of(ways.begin(), ways.end(), [&](const Way& way) {
    // The last part of the way has one time constant for all that one heat sink cools.
    const bool shares = is_clear(*clearest) && way.approach.clearness < kClearChange;
    const Approach found =
        shares ? approach(late_s, way.late, clearest->approach.tau_s) : way.approach;
    return found.to_come <= way.allowed;
  });
}

}  // namespace lab
