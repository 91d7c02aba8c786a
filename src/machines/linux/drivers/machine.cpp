#include "machines/linux/drivers/machine.h"

#include "machines/linux/sensors/sensors.h"
#include "machines/linux/sensors/temperature.h"

namespace linux_machine {
Machine::Machine(const Surroundings& surroundings)
    : surroundings_(surroundings),
      temperatures_(find_watched_temperatures(surroundings.sys)),
      fan_ledger_(surroundings, kFansPart),
      pstate_ledger_(surroundings, kPStatesPart),
      fans_(surroundings, fan_ledger_, temperatures_),
      pstates_(surroundings, pstate_ledger_),
      keys_(make_keys(find_sensors(surroundings), surroundings, fans_)) {}

// A fan that was forced with the privilege is told its speeds without it: its files are open.
KeyStore Machine::key_store() {
  return {.surroundings = surroundings_,
          .keys = keys_,
          .may_change =
              [this] { return surroundings_.effective_user() == 0 || fans_.force_bits() != 0; },
          .complaints = complaints_};
}

}  // namespace linux_machine
