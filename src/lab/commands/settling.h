#pragma once

#include <cstddef>

#include "lab/data/table.h"

namespace lab {

/// Whether every temperature of the rows from `first_row` on has come to rest: of the way that it
/// has gone since, no more than `part` is still to come. Of a temperature that has hardly moved, a
/// tenth of a kelvin may be. False before there are ten seconds to judge.
bool all_settled(const Table& table, std::size_t first_row, double part);

}  // namespace lab
