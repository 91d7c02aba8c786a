#include "machines/linux/drivers/composition.h"

#include <memory>

#include "machines/linux/cpufreq/pstates.h"
#include "machines/linux/drivers/controller.h"
#include "machines/linux/drivers/power_plugin.h"

namespace linux_machine {

std::vector<kx::Node> compose(Machine& machine) {
  const Surroundings& surroundings = machine.surroundings();
  std::vector<kx::Node> nodes;
  if (!machine.keys().empty()) {
    nodes.push_back({.driver = std::make_shared<Controller>(machine.key_store()), .children = {}});
  }
  if (has_pstates(surroundings.sys)) {
    nodes.push_back({.driver = std::make_shared<PowerPlugin>(surroundings, machine.pstates(),
                                                             machine.pstate_ledger()),
                     .children = {}});
  }
  return nodes;
}

}  // namespace linux_machine
