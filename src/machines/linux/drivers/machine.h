#pragma once

#include <vector>

#include "Kx/driver.h"
#include "machines/linux/cpufreq/pinning.h"
#include "machines/linux/drivers/controller.h"
#include "machines/linux/fans/fan_control.h"
#include "machines/linux/guardian/ledger.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// The machine as its drivers see it: what was found in the surroundings, once, and what has been
/// done to it. Thread: any.
class Machine {
 public:
  /// Looks at the machine; changes nothing. `surroundings` outlives it.
  explicit Machine(const Surroundings& surroundings);

  /// The drivers for what the machine has: a controller if there is any key, a power plugin if
  /// there are P-states. The machine outlives them.
  std::vector<kx::Node> compose();

  const std::vector<Key>& keys() const { return keys_; }
  FanControl& fans() { return fans_; }
  Ledger& fan_ledger() { return fan_ledger_; }
  const std::vector<WatchedTemperature>& temperatures() const { return temperatures_; }

 private:
  const Surroundings& surroundings_;
  const std::vector<WatchedTemperature> temperatures_;
  Ledger fan_ledger_;
  Ledger pstate_ledger_;
  FanControl fans_;
  PStatePinning pstates_;
  std::vector<Key> keys_;
  Complaints complaints_;
};

/// The names of the parts, and of their state files.
constexpr const char* kFansPart = "fans";
constexpr const char* kPStatesPart = "P-states";

}  // namespace linux_machine
