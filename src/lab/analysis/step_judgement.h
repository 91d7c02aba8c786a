#pragma once

#include <string>
#include <vector>

#include "lab/analysis/heat_curve.h"
#include "lab/analysis/step.h"
#include "lab/analysis/step_key.h"

namespace lab {

/// Why nothing can be said of any temperature of this record; empty if something can.
std::string judge_heat(const StepInput& input, const HeatCurve& curve);

/// What limits all results: power that is missing, readings that are missing, fans that changed
/// speed, a load that was not delivered, other load.
std::vector<std::string> judge_record(const StepInput& input);

/// What limits the results of one temperature: adds warnings, opens intervals whose bound the data
/// do not give, and takes `decided` back where nothing can be said.
void judge_key(const StepInput& input, const HeatCurve& curve, KeyResult& result);

}  // namespace lab
