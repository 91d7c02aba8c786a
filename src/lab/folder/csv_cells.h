#pragma once

#include <optional>
#include <string_view>

namespace lab {

/// The number in a cell; nothing: there is none. A comma is its point where that does not separate.
std::optional<double> number_in_cell(std::string_view cell, char separator);

/// Seconds of an instant such as "2026-11-21 15:00:00.5", on a scale without leap seconds. Offsets
/// from UTC are left out: differences alone count.
std::optional<double> instant_in_cell(std::string_view cell);

/// Seconds since midnight, or of a stopwatch, of a time such as "15:00:00.5": hours, minutes and
/// seconds.
std::optional<double> clock_in_cell(std::string_view cell);

}  // namespace lab
