#pragma once

#include "lab/analysis/heat_curve.h"
#include "lab/analysis/step_key.h"

namespace lab {

/// How much resistance a stage could have that is slower than the record is long, without being
/// among those that were found: the upper end of its 95 % interval, in the unit of the result. One
/// as slow as the record is long is fitted beside the stages that were found, whose time constants
/// stay as they are: a record that is long enough leaves next to nothing. One three times as slow
/// is fitted with all of them free: it counts where it is clearly seen, though too short to be told
/// from others still slower. In a short record it bends the stages that were found. Requires: the
/// result has stages. Infinite if the fits cannot tell at all.
double unseen_resistance(const HeatCurve& curve, const KeyResult& result);

}  // namespace lab
