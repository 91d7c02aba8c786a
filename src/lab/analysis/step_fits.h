#pragma once

#include <vector>

#include "lab/analysis/heat_curve.h"
#include "lab/analysis/step.h"
#include "lab/analysis/step_key.h"

namespace lab {

/// The temperatures of a record, fitted.
struct StepFits {
  HeatCurve curve;  ///< the heat that they were fitted with
  std::vector<KeyResult> results;
};

/// The heat of a record with readings that are means since the sample before. Requires: instants
/// ascend, a finite heat.
HeatCurve curve_of(const StepInput& record);

/// Fits every temperature of a record. What its readings of power are means of (ReadingSpan) is
/// found by what leaves the least of the temperatures unexplained. Where the temperatures cannot
/// tell two apart, the intervals hold what comes out of both. Requires: as curve_of().
/// Source: likelihood ratio of normal residuals, which count as the independent ones that they are
/// worth (noise.h).
StepFits fit_step(const StepInput& record);

}  // namespace lab
