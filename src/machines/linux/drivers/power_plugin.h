#pragma once

#include <atomic>
#include <memory>

#include "machines/linux/cpufreq/pinning.h"
#include "machines/power_plugin/plugin_service.h"

namespace linux_machine {

/// The P-states of this machine's processors, for one connection at a time. What cannot be done is
/// reported to the user with the attribute's name.
class LinuxPStates final : public power_plugin::PStates {
 public:
  /// All outlive this.
  LinuxPStates(const Surroundings& surroundings, PStatePinning& control, Ledger& ledger)
      : surroundings_(surroundings), control_(control), ledger_(ledger) {}

  bool may_change() override { return surroundings_.effective_user() == 0; }
  kx_return_t claim() override;
  void release() override;
  kx_return_t force(std::uint32_t pstate) override;
  kx_return_t give_back() override;

 private:
  kx_return_t told(const sysfs::Result<sysfs::Done>& result);

  const Surroundings& surroundings_;
  PStatePinning& control_;
  Ledger& ledger_;
  std::atomic<bool> claimed_{false};
};

/// The power plugin of this machine. All outlive it.
class PowerPlugin : public power_plugin::PluginService {
 public:
  PowerPlugin(const Surroundings& surroundings, PStatePinning& control, Ledger& ledger)
      : PluginService("LinuxPlatformPlugin",
                      std::make_unique<LinuxPStates>(surroundings, control, ledger)) {}
};

}  // namespace linux_machine
