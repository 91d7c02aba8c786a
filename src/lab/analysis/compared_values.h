#pragma once

#include <string>
#include <vector>

#include "lab/data/answer.h"
#include "lab/data/estimate.h"

namespace lab {

/// A value of two answers, side by side.
struct ComparedValue {
  /// Whether a lower one is better, as a thermal resistance or a temperature is, or it only
  /// differs.
  enum class Sense { lower_is_better, neutral };
  std::string path;  ///< in result.json, such as "keys.TC0D.resistance"
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

/// Every estimate that stands at the same place in the figures of both answers. Left out are keys
/// that one of them lacks or could not decide, lists of different lengths or at different settings,
/// and the temperature at the start, which is a condition of the run. With `keys`, only these.
/// Resistances, in K/W or K, and temperatures are better if they are lower; a rung or a stage is
/// not, since only their sum is the machine's.
ComparedValues values_in_common(const nlohmann::ordered_json& one,
                                const nlohmann::ordered_json& other,
                                const std::vector<std::string>& keys);

}  // namespace lab
