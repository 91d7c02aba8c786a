#pragma once

#include <ostream>

#include "lab/data/answer.h"

namespace lab {

/// What whoever reads a text can show.
enum class Letters { utf8, ascii };

/// Writes an answer for a terminal: sentences, tables with aligned columns, warnings. Lines of text
/// are at most `columns` wide; tables are as wide as they are. With `ascii`, the lab's own words
/// are in ASCII: "degC" stands for degrees; names are as they are.
void write_summary(std::ostream& out, const Answer& answer, Letters letters = Letters::utf8,
                   std::size_t columns = 80);

}  // namespace lab
