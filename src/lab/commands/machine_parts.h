#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "lab/engine_process/machine_keys.h"
#include "lab/plan/plan.h"

namespace lab {

/// The target keys of a machine's fans, in their order. Pure.
std::vector<std::string> fan_targets(const std::vector<MachineKey>& keys);

/// Throws EngineError, with what there is instead, for a key that cannot be sampled, a limit on
/// such a key, or a fan that the machine does not have: the engine would say so only when the run
/// has begun. Pure.
void refuse_missing_parts(const Plan& plan, const std::vector<MachineKey>& keys);

/// Throws EngineError for a P-state of the plan that is none of the machine's. `count` says how
/// many it has (0: it does not say, and nothing is refused), and is asked only if the plan names
/// one.
void refuse_missing_pstates(const Plan& plan, const std::function<std::size_t()>& count);

}  // namespace lab
