#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Kx/driver.h"
#include "PlatformPlugin/protocol.h"

namespace power_plugin {

/// What a machine's power plugin does. Thread: one at a time.
class PStates {
 public:
  PStates() = default;
  PStates(const PStates&) = delete;
  PStates& operator=(const PStates&) = delete;
  virtual ~PStates() = default;

  /// Whether this process may force P-states at all.
  virtual bool may_change() = 0;

  /// Makes the caller the one user. kKxReturnExclusiveAccess: there is one already.
  virtual kx_return_t claim() = 0;

  /// Ends what claim() began, and returns to power balancing.
  virtual void release() = 0;

  /// Pins the processors to P-state `pstate`. kKxReturnBadArgument, and no change, if there is no
  /// such.
  virtual kx_return_t force(std::uint32_t pstate) = 0;

  /// Gives power management back. A success if nothing was forced.
  virtual kx_return_t give_back() = 0;
};

/// The driver of a power plugin: one connection at a time, which holds the processors in a P-state
/// until it says otherwise or is closed.
class PluginService : public kx::Driver {
 public:
  /// `class_name` is the driver's own class, a kind of platform_plugin::kServiceClass.
  PluginService(std::string class_name, std::unique_ptr<PStates> pstates)
      : class_name_(std::move(class_name)), pstates_(std::move(pstates)) {}

  std::vector<std::string> classes() const override {
    return {class_name_, platform_plugin::kServiceClass};
  }

  /// Returns kKxReturnUnsupported for a connection type other than the plugin's,
  /// kKxReturnNotPermitted if this process may not, and what claim() returns.
  kx_return_t open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) override;

 private:
  const std::string class_name_;
  const std::unique_ptr<PStates> pstates_;
};

}  // namespace power_plugin
