#include "machines/simulated/composition.h"

#include <memory>

#include "machines/simulated/plugin_driver.h"
#include "machines/simulated/smc_driver.h"

std::vector<kx::Node> simulated::compose(Machine& machine) {
  kx::Node controller{std::make_shared<SmcDriver>(machine), {}};
  kx::Node package{nullptr, {{std::make_shared<PluginDriver>(machine), {}}}};
  return {{nullptr, {controller, package}}};
}

std::vector<kx::Node> kx::compose_machine() {
  return simulated::compose(simulated::machine());
}
