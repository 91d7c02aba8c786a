#pragma once

#include <vector>

#include "lab/analysis/sweep_laws.h"
#include "lab/data/answer.h"

namespace lab {

/// The points of a sweep as pictures, with the laws through them.
std::vector<Chart> sweep_charts(const SweepInput& input, const std::vector<PointResult>& points,
                                const SweepLaws& laws);

}  // namespace lab
