#pragma once

#include <vector>

#include "lab/engine_process/machine_keys.h"
#include "lab/folder/run_info.h"
#include "lab/plan/plan.h"

namespace lab {

/// The keys that the plan wants sampled, as the machine has them, in the order in which the engine
/// is to sample them: those that the plan names, in their order, behind its power if that is not
/// among them; of a plan that names none, every one that is worth it. Throws EngineError for a key
/// that the machine does not have, and if there is none at all. Pure.
std::vector<KeyInfo> chosen_keys(const Plan& plan, const std::vector<MachineKey>& machine_keys);

}  // namespace lab
