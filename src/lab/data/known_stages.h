#pragma once

#include <map>
#include <string>
#include <vector>

namespace lab {

/// A stage of a thermal impedance as an analysis found it: R / (1 + j w tau).
struct KnownStage {
  double resistance = 0;  ///< K/W; a temperature away from the heat may have a negative one
  double tau_s = 0;       ///< above 0
};

/// The stages of temperatures, by key.
using KnownStages = std::map<std::string, std::vector<KnownStage>>;

}  // namespace lab
