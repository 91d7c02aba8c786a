#pragma once

#include "lab/analysis/foster_fit.h"
#include "lab/analysis/foster_start.h"

namespace lab {

/// The fit with as many stages, 1 to 4, as the data tell apart, and with offsets only if the start
/// was not settled. A further stage must lower the Bayesian information criterion, in which
/// correlated residuals count as the fewer independent ones that they are worth; and each stage
/// must be one that can be told from nothing and from its neighbours (`distinct`). Source: Schwarz,
/// Estimating the dimension of a model (1978).
FosterFit choose_stages(const HeatCurve& curve, const Observed& observed, const FosterStart& start);

/// The fit with as many stages, 1 to 6, as a ladder of this impedance has rungs, as far as the data
/// tell. All numbers of stages are tried, and the least Bayesian information criterion chooses
/// among those that are `distinct`; what residuals are worth is judged by the richest of them. That
/// finds more than choose_stages(), which must not take slow errors for stages, and asks that what
/// is left is noise. Source: Schwarz (1978).
FosterFit choose_rungs(const HeatCurve& curve, const Observed& observed, const FosterStart& start);

/// Whether each stage is known to be there: a hundredth of all resistance at least, twice its
/// standard error, and a time constant half as long again as the one before. How well the time
/// constant is known is another matter: a stage that is needed stays, or the others would be wrong.
bool distinct(const FosterFit& fit, const Observed& observed);

}  // namespace lab
