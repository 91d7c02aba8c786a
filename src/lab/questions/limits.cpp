#include "lab/questions/limits.h"

namespace lab {

void arm_limits(Plan& plan, const std::vector<MachineKey>& keys) {
  constexpr double kLimit_C = 95;  // where processors begin to slow down
  constexpr double kWellBelow_C = 85;
  for (const MachineKey& key : keys) {
    if (worth_sampling(key) && key.unit == "degC" && key.value && *key.value < kWellBelow_C) {
      plan.limits[key.name] = kLimit_C;
    }
  }
}

}  // namespace lab
