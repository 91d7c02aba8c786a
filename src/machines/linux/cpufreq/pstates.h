#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "machines/linux/cpufreq/policy.h"

/// The numbering of P-states: 0 is the fastest. All of these are pure.
namespace linux_machine {

/// Between two P-states of a policy without a table.
constexpr long long kStepKhz = 100'000;

/// How many steps a policy has; at least one.
std::size_t count_steps(const Policy& policy);

/// The frequency of P-state n in this policy; that of its last step if it has fewer. Units: kHz.
long long pstate_khz(const Policy& policy, std::uint32_t n);

/// How many P-states the machine has: as many as the policy with the most steps.
std::size_t count_pstates(const std::vector<Policy>& policies);

}  // namespace linux_machine
