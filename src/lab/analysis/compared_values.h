#pragma once

#include <string>
#include <vector>

#include "lab/data/answer.h"
#include "lab/data/estimate.h"

namespace lab {

/// A value of two answers, side by side.
struct ComparedValue {
  enum class Sense {
    lower_is_better,   ///< a resistance, a temperature
    higher_is_better,  ///< what a joule buys
    neutral,           ///< it only differs
    condition,         ///< what the run was made under: shown, and no difference counts
  };
  std::string path;  ///< in result.json of the first, such as "keys.TC0D.resistance"
  std::string name;  ///< the same for people: "TC0D resistance"
  Sense sense = Sense::neutral;
  Estimate one;
  Estimate other;
};

/// The values that two answers have in common, and why others are left out.
struct ComparedValues {
  std::vector<ComparedValue> values;
  std::vector<std::string> warnings;
};

/// Every estimate that stands at the same place in the figures of both answers; of lists with
/// settings, at the same setting. What only one of them has or could decide is left out, and a
/// warning says so. With `keys`, only these.
/// Resistances, in K/W or K, amplitudes for each watt, and temperatures are better if they are
/// lower; a rung or a stage is not, since only their sum is the machine's. Operations for each
/// joule are better if they are higher. The temperature at the start, and that of the air, are
/// conditions.
ComparedValues values_in_common(const nlohmann::ordered_json& one,
                                const nlohmann::ordered_json& other,
                                const std::vector<std::string>& keys);

}  // namespace lab
