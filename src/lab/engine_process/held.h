#pragma once

#include <optional>
#include <string>

#include "lab/engine_process/segments.h"
#include "lab/plan/plan.h"

namespace lab {

/// How an engine with these means holds the fans, or the P-state, that a plan asks for: "held at
/// their maximum", "left to the machine". Pure.
std::string fans_held(const Fans& fans, const Means& means);
std::string pstate_held(std::optional<int> pstate, const Means& means);

/// The same of a whole plan; "not the same in all phases" if that is so.
std::string fans_held(const Plan& plan, const Means& means);
std::string pstate_held(const Plan& plan, const Means& means);

}  // namespace lab
