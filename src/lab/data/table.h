#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lab {

/// What one sensor, or another source of numbers, showed over time.
struct Column {
  std::string name;            ///< a key of four characters, or what a head of a file says
  std::string unit;            ///< "W", "degC", "RPM", "V", "A"; empty: none, or not known
  std::string source;          ///< what stands behind it; empty: not known
  std::vector<double> values;  ///< one for each instant of the table; NaN: not measured then
};

/// Measurements over time. All columns are as long as `time_s`, which ascends.
struct Table {
  std::vector<double> time_s;
  std::vector<Column> columns;

  /// The column of that name; null if there is none.
  const Column* find(std::string_view name) const;
};

/// Columns of a run's table beside its keys.
inline constexpr std::string_view kPhaseColumn = "phase";          ///< index into the plan's phases
inline constexpr std::string_view kAskedColumn = "asked";          ///< load, 0 to 1
inline constexpr std::string_view kDeliveredColumn = "delivered";  ///< load, 0 to 1: the engine's
                                                                   ///< part of all processors' time
inline constexpr std::string_view kOthersColumn = "others";        ///< load of everybody else

}  // namespace lab
