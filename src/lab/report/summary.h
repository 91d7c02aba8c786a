#pragma once

#include <ostream>

#include "lab/data/answer.h"

namespace lab {

/// Writes an answer for a terminal: sentences, tables with aligned columns, warnings. Lines of text
/// are at most `columns` wide; tables are as wide as they are.
void write_summary(std::ostream& out, const Answer& answer, std::size_t columns = 80);

}  // namespace lab
