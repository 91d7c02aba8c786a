#include "machines/simulated/power_plugin.h"

#include <optional>

#include "machines/simulated/power.h"

namespace simulated {

kx_return_t SimulatedPStates::claim() {
  return machine_.claim_pstates() ? kKxReturnSuccess : kKxReturnExclusiveAccess;
}

kx_return_t SimulatedPStates::force(std::uint32_t pstate) {
  if (pstate >= kPStates.size()) {
    return kKxReturnBadArgument;
  }
  machine_.force_pstate(pstate);
  return kKxReturnSuccess;
}

kx_return_t SimulatedPStates::give_back() {
  machine_.force_pstate(std::nullopt);
  return kKxReturnSuccess;
}

}  // namespace simulated
