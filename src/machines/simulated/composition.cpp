#include "machines/simulated/composition.h"

#include <memory>

#include "machines/simulated/controller.h"
#include "machines/simulated/power_plugin.h"

std::vector<kx::Node> simulated::compose(Machine& machine) {
  const kx::Node controller{.driver = std::make_shared<Controller>(machine), .children = {}};
  const kx::Node plugin{.driver = std::make_shared<PowerPlugin>(machine), .children = {}};
  const kx::Node package{.driver = nullptr, .children = {plugin}};
  return {{.driver = nullptr, .children = {controller, package}}};
}

std::vector<kx::Node> kx::compose_machine() {
  return simulated::compose(simulated::machine());
}
