#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "lab/data/table.h"

namespace lab {

/// The first row from which on every fan among `columns` keeps its speed to the end, within two
/// hundredths. 0 if there is none, or if that comes at `before_s` or later: then they moved all the
/// time, and nothing is gained by waiting for them. Requires: columns as long as time_s.
std::size_t fans_at_speed(std::span<const double> time_s, const std::vector<Column>& columns,
                          double before_s);

}  // namespace lab
