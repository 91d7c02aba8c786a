#pragma once

#include <optional>
#include <string_view>

namespace lab {

/// The number in a cell; nothing: there is none. A comma is its point where that does not separate.
/// Where a number has both, as "1,000.5" has, the first kind groups its thousands.
std::optional<double> number_in_cell(std::string_view cell, char separator);

/// Seconds of an instant such as "2026-11-21 15:00:00.5", "2026/11/21 15:00:00" or
/// "21.11.2026 15:00:00", on a scale without leap seconds. Offsets from UTC are left out:
/// differences alone count. A day with slashes and its year last is nothing: who wrote it decides
/// what is the month.
std::optional<double> instant_in_cell(std::string_view cell);

/// Seconds since midnight, or of a stopwatch, of a time such as "15:00:00.5": hours, minutes and
/// seconds.
std::optional<double> clock_in_cell(std::string_view cell);

}  // namespace lab
