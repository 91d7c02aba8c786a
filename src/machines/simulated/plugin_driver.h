#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Kx/driver.h"
#include "machines/simulated/machine.h"

namespace simulated {

/// The power plugin of the simulated machine, a kind of "KxPlatformPlugin": one connection at a
/// time, which holds the processors in a P-state until it says otherwise or is closed.
/// Outlived by the machine that it is given.
class PluginDriver : public kx::Driver {
 public:
  explicit PluginDriver(Machine& machine) : machine_(machine) {}

  std::vector<std::string> classes() const override {
    return {"SimulatedPlatformPlugin", "KxPlatformPlugin"};
  }

  /// Returns kKxReturnUnsupported for a connection type other than 0x50505543 ("PPUC"),
  /// kKxReturnNotPermitted unless the effective user id is 0, and kKxReturnExclusiveAccess while
  /// there is a connection.
  kx_return_t open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) override;

 private:
  Machine& machine_;
};

}  // namespace simulated
