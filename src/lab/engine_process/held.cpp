#include "lab/engine_process/held.h"

#include <functional>

namespace lab {

namespace {

constexpr const char* kLeft = "left to the machine";

std::string of_all_phases(const Plan& plan, const std::function<std::string(const Phase&)>& held) {
  if (plan.phases.empty()) {
    return "as the engine's options have it";
  }
  std::string first = held(plan.phases.front());
  for (const Phase& phase : plan.phases) {
    if (held(phase) != first) {
      return "not the same in all phases";
    }
  }
  return first;
}

}  // namespace

std::string fans_held(const Fans& fans, const Means& means) {
  if (means.root && !means.fan_keys.empty()) {
    switch (fans.hold) {
      case Fans::Hold::automatic:
        return kLeft;
      case Fans::Hold::maximum:
        return "held at their maximum";
      case Fans::Hold::speed:
        return "held at " + std::to_string(fans.rpm) + " RPM";
    }
  }
  return kLeft;
}

std::string pstate_held(std::optional<int> pstate, const Means& means) {
  return pstate && means.root ? "P-state " + std::to_string(*pstate) + " forced" : kLeft;
}

std::string fans_held(const Plan& plan, const Means& means) {
  return of_all_phases(plan,
                       [&](const Phase& phase) { return fans_held(fans_of(plan, phase), means); });
}

std::string pstate_held(const Plan& plan, const Means& means) {
  return of_all_phases(
      plan, [&](const Phase& phase) { return pstate_held(pstate_of(plan, phase), means); });
}

}  // namespace lab
