#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "machines/linux/cpufreq/policy.h"

namespace linux_machine {

/// An attribute and what it is, or is to be.
struct Setting {
  std::string attribute;
  std::string value;
};

/// How to bring the machine to a P-state.
struct PinPlan {
  /// Every attribute that the writes change, directly or as a consequence, with its value before
  /// the first change, in the order in which they are to be put back.
  std::vector<Setting> originals;
  std::vector<Setting> writes;  ///< in this order
  std::vector<Setting> limits;  ///< of the writes, those that the kernel applies later
};

/// The plan for P-state n. `original` is the machine before it was first changed: it says which
/// frequency a P-state is, and what is to be put back. `now` is the machine as it stands.
/// Requires: every policy of `now` is in `original`. Pure.
PinPlan plan_pin(const Cpufreq& original, const Cpufreq& now, std::uint32_t n);

}  // namespace linux_machine
