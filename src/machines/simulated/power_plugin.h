#pragma once

#include <memory>

#include "machines/power_plugin/plugin_service.h"
#include "machines/simulated/machine.h"

namespace simulated {

/// The simulated machine's P-states. Outlived by the machine that it is given.
class SimulatedPStates final : public power_plugin::PStates {
 public:
  explicit SimulatedPStates(Machine& machine) : machine_(machine) {}

  bool may_change() override { return machine_.may_change(); }
  kx_return_t claim() override;
  void release() override { machine_.release_pstates(); }
  kx_return_t force(std::uint32_t pstate) override;
  kx_return_t give_back() override;

 private:
  Machine& machine_;
};

/// The power plugin of the simulated machine. Outlived by the machine that it is given.
class PowerPlugin : public power_plugin::PluginService {
 public:
  explicit PowerPlugin(Machine& machine)
      : PluginService("SimulatedPlatformPlugin", std::make_unique<SimulatedPStates>(machine)) {}
};

}  // namespace simulated
