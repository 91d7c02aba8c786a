#pragma once

#include <vector>

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

  const Surroundings& surroundings() const { return surroundings_; }
  const std::vector<Key>& keys() const { return keys_; }
  /// What the connections of its controller share; the machine outlives it.
  KeyStore key_store();
  FanControl& fans() { return fans_; }
  Ledger& fan_ledger() { return fan_ledger_; }
  PStatePinning& pstates() { return pstates_; }
  Ledger& pstate_ledger() { return pstate_ledger_; }
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
