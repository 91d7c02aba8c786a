#pragma once

#include <string>
#include <vector>

#include "lab/data/table.h"
#include "lab/live/extremes.h"
#include "lab/live/look.h"

namespace lab {

/// The columns of a run's table that are keys: all but those of phase and load. Indices.
std::vector<std::size_t> key_columns(const Table& samples);

/// A head, and a row for each key: its name, its value now with the unit, the least and the
/// greatest one so far, and a sparkline of the last minutes; what stands behind it too where there
/// is room for that. The first keys, and a row that says how many were left out, if there are more
/// than `rows`; the head goes first. All within `columns` of the terminal. Requires: the samples
/// have a row, and `extremes` has taken them.
std::vector<std::string> key_rows(const Table& samples, const Extremes& extremes, int rows,
                                  int columns, Look look);

}  // namespace lab
