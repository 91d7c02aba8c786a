#pragma once

#include <vector>

#include "lab/analysis/ladder.h"

namespace lab {

/// A point of a structure function.
struct StructurePoint {
  double resistance = 0;   ///< K/W: all from the heated place to here
  double capacitance = 0;  ///< J/K: likewise
};

/// The cumulative structure function of a ladder: a point for each rung, before its resistance.
std::vector<StructurePoint> cumulative(const std::vector<Rung>& ladder);

/// The differential structure function dC/dR in J W/K^2, as the slopes between points of the
/// cumulative one that are at least a hundredth of its resistance apart; `capacitance` is the
/// slope. Source: Protonotarios and Wing (1967), of nonuniform RC lines.
std::vector<StructurePoint> differential(const std::vector<Rung>& ladder);

}  // namespace lab
