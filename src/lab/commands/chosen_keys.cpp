#include "lab/commands/chosen_keys.h"

#include <algorithm>
#include <string>

#include "lab/engine_process/engine_error.h"
#include "lab/engine_process/machine.h"

namespace lab {

std::vector<KeyInfo> chosen_keys(const Plan& plan, const std::vector<MachineKey>& machine_keys) {
  std::vector<KeyInfo> chosen;
  const auto choose = [&](const MachineKey& key) {
    chosen.push_back({.name = key.name, .unit = key.unit, .source = key.source});
  };
  if (plan.keys.empty()) {
    for (const MachineKey& key : machine_keys) {
      if (worth_sampling(key)) {
        choose(key);
      }
    }
  }
  std::vector<std::string> wanted = plan.keys;
  if (!plan.keys.empty() && !plan.power.empty() &&
      std::find(wanted.begin(), wanted.end(), plan.power) == wanted.end()) {
    wanted.insert(wanted.begin(), plan.power);  // in front of what the engine's options name
  }
  for (const std::string& name : wanted) {
    const auto found = std::find_if(machine_keys.begin(), machine_keys.end(),
                                    [&](const MachineKey& key) { return key.name == name; });
    if (found == machine_keys.end()) {
      throw EngineError("this machine has no key \"" + name + "\": \"" + machine().keys +
                        "\" lists those that it has");
    }
    choose(*found);
  }
  if (!plan.power.empty()) {
    const auto heat = std::find_if(chosen.begin(), chosen.end(),
                                   [&](const KeyInfo& key) { return key.name == plan.power; });
    if (heat == chosen.end() || heat->unit != "W") {
      throw EngineError("\"" + plan.power + "\" is no power that this machine has: \"" +
                        machine().keys + "\" lists its keys and their units");
    }
  }
  if (chosen.empty()) {
    throw EngineError(std::string("no temperature, power or fan speed can be read here: \"") +
                      machine().program + " doctor\" says what is missing");
  }
  return chosen;
}

}  // namespace lab
