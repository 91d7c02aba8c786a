#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/plan/plan.h"

namespace lab {

/// The loads in the engine's help. Pure.
std::vector<std::string> parse_loads(std::string_view help);

/// The loads that the engine has. Throws EngineError if it cannot be started.
std::vector<std::string> engine_loads();

/// Throws EngineError, which names those that fit, for a load of a phase that is not among `loads`,
/// or that never pauses and so cannot follow a duty. Pure.
void refuse_unfit_loads(const Plan& plan, const std::vector<std::string>& loads);

}  // namespace lab
