#pragma once

#include "lab/analysis/foster_fit.h"
#include "lab/analysis/foster_start.h"

namespace lab {

/// The fit with as many stages, 1 to 4, as the data tell apart, and with offsets only if the start
/// was not settled. A further stage must lower the Bayesian information criterion, in which
/// correlated residuals count as the fewer independent ones that they are worth; and each stage
/// must be distinct: its resistance a hundredth of all at least, and twice its standard error, its
/// time constant half as long again as the one before. Source: Schwarz, Estimating the dimension of
/// a model (1978).
FosterFit choose_stages(const HeatCurve& curve, const Observed& observed, const FosterStart& start);

/// The fit with as many stages, 1 to 6, as a ladder of this impedance has rungs, as far as the data
/// tell. All numbers of stages are tried, and the least Bayesian information criterion chooses
/// among those whose stages are distinct; what residuals are worth is judged by the richest of
/// them. That finds more than choose_stages(), which must not take slow errors for stages, and asks
/// that what is left is noise. Source: Schwarz (1978).
FosterFit choose_rungs(const HeatCurve& curve, const Observed& observed, const FosterStart& start);

}  // namespace lab
