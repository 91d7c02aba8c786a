#pragma once

#include <vector>

#include "lab/analysis/compared_values.h"
#include "lab/data/estimate.h"

namespace lab {

/// A value of two runs, and what to think of its difference.
struct Difference {
  ComparedValue value;
  Estimate size;           ///< of the other less the first: "%" of the first, or "K", or "deg"
  double probability = 1;  ///< of such a difference beyond the least one by chance
  bool counts = false;     ///< of a condition, never

  /// Whether one way is better than the other.
  bool decides() const {
    return value.sense == ComparedValue::Sense::lower_is_better ||
           value.sense == ComparedValue::Sense::higher_is_better;
  }

  /// Which way it goes. Requires: decides().
  bool better() const {
    return (size.value < 0) == (value.sense == ComparedValue::Sense::lower_is_better);
  }
};

/// The difference between two estimates, in percent of the first; of temperatures in K, of phases
/// in degrees, by the shorter way round. A difference counts as far as it is beyond `least`, in
/// that unit. Standard errors are those behind the intervals, on the side of the other value.
Difference difference_of(const ComparedValue& value, double least);

/// Corrects the probabilities for how many differences there are, and decides which count: over all
/// of them the probability to find one where there is none is at most 0.05. Conditions are left as
/// they are. Source: Holm, A simple sequentially rejective multiple test procedure (1979), on
/// normal deviations.
void judge_together(const std::vector<Difference*>& differences);

}  // namespace lab
