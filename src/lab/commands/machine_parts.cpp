#include "lab/commands/machine_parts.h"

#include <algorithm>
#include <optional>

#include "lab/engine_process/engine_error.h"
#include "lab/engine_process/machine.h"

namespace lab {

namespace {

void refuse_missing_key(const std::string& name, const std::string& what,
                        const std::vector<MachineKey>& keys) {
  const auto found = std::find_if(keys.begin(), keys.end(),
                                  [&](const MachineKey& key) { return key.name == name; });
  const std::string lists = std::string("\"") + machine().keys + "\" lists ";
  if (found == keys.end()) {
    throw EngineError(what + ": this machine has no key \"" + name + "\": " + lists +
                      "those that it has");
  }
  if (!found->sampled) {
    throw EngineError(what + ": \"" + name + "\" is no key that a run can sample, for it is no " +
                      "measured number: " + lists + "the types; choose one of fp.. or sp..");
  }
}

}  // namespace

std::vector<std::string> fan_targets(const std::vector<MachineKey>& keys) {
  std::vector<std::string> targets;
  for (const MachineKey& key : keys) {
    if (key.unit == "RPM" && key.name.size() == 4 && key.name.ends_with("Tg")) {
      targets.push_back(key.name);
    }
  }
  return targets;
}

void refuse_missing_parts(const Plan& plan, const std::vector<MachineKey>& keys) {
  for (const std::string& name : plan.keys) {
    refuse_missing_key(name, "sampling", keys);
  }
  for (const auto& [name, most] : plan.limits) {
    refuse_missing_key(name, "limit", keys);
  }
  const std::vector<std::string> fans = fan_targets(keys);
  for (const Phase& phase : plan.phases) {
    // A machine without any is left to itself, and the run says so.
    if (phase.fan.empty() || fans.empty() ||
        std::find(fans.begin(), fans.end(), phase.fan) != fans.end()) {
      continue;
    }
    std::string why =
        "phase \"" + phase.name + "\": this machine has no fan \"" + phase.fan + "\": it has";
    for (const std::string& fan : fans) {
      why.append(fan == fans.front() ? " " : ", ").append(fan);
    }
    throw EngineError(why);
  }
}

void refuse_missing_pstates(const Plan& plan, const std::function<std::size_t()>& count) {
  std::optional<int> highest;
  for (const Phase& phase : plan.phases) {
    highest = std::max(highest, pstate_of(plan, phase));
  }
  const int have = highest ? static_cast<int>(count()) : 0;
  if (have > 0 && *highest >= have) {
    throw EngineError("P-state " + std::to_string(*highest) + ": this machine has 0 to " +
                      std::to_string(have - 1) + ", of which 0 is the fastest");
  }
}

}  // namespace lab
