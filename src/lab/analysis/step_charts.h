#pragma once

#include "lab/analysis/step_key.h"
#include "lab/data/answer.h"

namespace lab {

/// The thermal impedance Z_th(t) of each temperature, fitted and measured, over logarithmic time;
/// and the residuals over time. What counts as measured: the fitted impedance plus what the fit
/// leaves, for each watt of the change of heat, as a mean over all large changes.
std::vector<Chart> step_charts(const std::vector<KeyResult>& results, const HeatCurve& curve,
                               bool heat_is_power);

}  // namespace lab
