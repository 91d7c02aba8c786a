#include "machines/simulated/composition.h"

#include <memory>

#include "machines/simulated/controller.h"
#include "machines/simulated/power_plugin.h"

std::vector<kx::Node> simulated::compose(Machine& machine) {
  kx::Node controller{std::make_shared<Controller>(machine), {}};
  kx::Node package{nullptr, {{std::make_shared<PowerPlugin>(machine), {}}}};
  return {{nullptr, {controller, package}}};
}

std::vector<kx::Node> kx::compose_machine() {
  return simulated::compose(simulated::machine());
}
