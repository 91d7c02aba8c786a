#pragma once

#include "lab/analysis/heat_curve.h"
#include "lab/analysis/step_key.h"

namespace lab {

/// How much resistance a stage could have that is as slow as the record is long, without being
/// among those that were found: the upper end of its 95 % interval, in the unit of the result. It
/// is fitted beside the stages that were found, whose time constants stay as they are. A record
/// that is long enough leaves next to nothing; in a short one such a stage looks like a start that
/// was not settled. Requires: the result has stages. Infinite if the fit cannot tell at all.
double unseen_resistance(const HeatCurve& curve, const KeyResult& result);

}  // namespace lab
