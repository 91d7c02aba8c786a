#include "machines/linux/drivers/machine.h"

#include <memory>

#include "machines/linux/drivers/power_plugin.h"
#include "machines/linux/sensors/sensors.h"
#include "machines/linux/sensors/temperature.h"

namespace linux_machine {
Machine::Machine(const Surroundings& surroundings)
    : surroundings_(surroundings),
      temperatures_(find_watched_temperatures(surroundings.sys)),
      fan_ledger_(surroundings, kFansPart),
      pstate_ledger_(surroundings, kPStatesPart),
      fans_(surroundings, fan_ledger_, temperatures_),
      pstates_(surroundings, pstate_ledger_),
      keys_(make_keys(find_sensors(surroundings), surroundings, fans_)) {}

std::vector<kx::Node> Machine::compose() {
  std::vector<kx::Node> nodes;
  if (!keys_.empty()) {
    // A fan that was forced with the privilege is told its speeds without it: its files are open.
    const auto may_change = [this] {
      return surroundings_.effective_user() == 0 || fans_.force_bits() != 0;
    };
    const KeyStore store{surroundings_, keys_, may_change, complaints_};
    nodes.push_back({std::make_shared<controller::KeyService>(
                         [store] { return std::make_unique<LinuxKeys>(store); }),
                     {}});
  }
  if (has_pstates(surroundings_.sys)) {
    nodes.push_back({std::make_shared<power_plugin::PluginService>(
                         "LinuxPlatformPlugin",
                         std::make_unique<LinuxPStates>(surroundings_, pstates_, pstate_ledger_)),
                     {}});
  }
  return nodes;
}

}  // namespace linux_machine
