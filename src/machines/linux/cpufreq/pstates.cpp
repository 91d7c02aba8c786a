#include "machines/linux/cpufreq/pstates.h"

#include <algorithm>

// Where the driver has a table of frequencies, its entries are the P-states. Elsewhere any
// frequency may be asked for, so a grain has to be chosen: 100 MHz, from cpuinfo_max_freq
// downwards. On Intel's processors that is the grain of the hardware itself: P-states are multiples
// of a bus clock of 100 MHz (Intel SDM vol. 3B, "Power and Thermal Management", IA32_PERF_CTL), and
// intel_pstate/num_pstates counts the same steps. amd-pstate and cppc_cpufreq speak of abstract
// performance levels, whose frequencies are about 10 to 30 MHz apart; the same grain there makes
// one number mean about the same everywhere, and stays well above the 1 % within which a setting
// is confirmed. The slowest step is the last one that is not below cpuinfo_min_freq.
//
// The processors of a hybrid machine differ. P-state n is the n-th step of every kind of processor,
// so the slower cores come to their end earlier and stay there. Within a kind P-state n is one
// frequency: what favoured cores can reach beyond their like begins the count for all, and those
// that cannot reach it run as fast as they can.

namespace linux_machine {

namespace {

long long fastest_khz(const Policy& policy) {
  return std::max(policy.kind_max_khz, policy.hardware_max_khz);
}

}  // namespace

std::size_t count_steps(const Policy& policy) {
  if (!policy.table_khz.empty()) {
    return policy.table_khz.size();
  }
  return static_cast<std::size_t>((fastest_khz(policy) - policy.hardware_min_khz) / kStepKhz) + 1;
}

long long pstate_khz(const Policy& policy, std::uint32_t n) {
  const std::size_t step = std::min<std::size_t>(n, count_steps(policy) - 1);
  if (!policy.table_khz.empty()) {
    return policy.table_khz[step];
  }
  return std::min(policy.hardware_max_khz,
                  fastest_khz(policy) - static_cast<long long>(step) * kStepKhz);
}

std::size_t count_pstates(const std::vector<Policy>& policies) {
  std::size_t most = 0;
  for (const Policy& policy : policies) {
    most = std::max(most, count_steps(policy));
  }
  return most;
}

}  // namespace linux_machine
