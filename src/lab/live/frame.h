#pragma once

#include <string>
#include <vector>

#include "lab/live/extremes.h"
#include "lab/live/live_state.h"
#include "lab/live/look.h"

namespace lab {

struct Size {
  int columns = 80;
  int rows = 24;
  friend bool operator==(const Size&, const Size&) = default;
};

/// The lines of a full screen, from the top: as many as it has rows, none wider than it is. Always
/// the same for the same arguments.
/// Requires: `extremes` has taken the state's samples.
std::vector<std::string> compose(const LiveState& state, const Extremes& extremes, Size size,
                                 Look look);

/// The mean over the last second of the samples; NaN if the table has no such column, or nothing
/// was measured. Of loads, which one sample shows only a piece of.
double recent_mean(const Table& samples, std::string_view column);

}  // namespace lab
