#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/live/look.h"

namespace lab {

// Printable text in columns of a terminal.

/// The text, its end left out for a mark if it takes more columns.
std::string clipped(std::string_view text, int columns, Look look);

/// Clipped, and filled up with spaces behind the text.
std::string left_aligned(std::string_view text, int columns, Look look);

/// Clipped, and filled up with spaces before the text.
std::string right_aligned(std::string_view text, int columns, Look look);

/// One text at each end of a line. The right one is left out if they do not fit.
std::string at_both_ends(std::string_view left, std::string_view right, int columns, Look look);

/// Lines of at most that many columns (at least 1), broken between words where that is possible.
std::vector<std::string> broken_into_lines(std::string_view text, int columns);

}  // namespace lab
