#include "machines/linux/drivers/power_plugin.h"

#include "machines/linux/drivers/kx_result.h"

namespace linux_machine {

kx_return_t LinuxPStates::told(const sysfs::Result<sysfs::Done>& result) {
  if (result) {
    return kKxReturnSuccess;
  }
  const kx_return_t code = kx_result(result.failure());
  if (code != kKxReturnBadArgument) {  // which the caller knows how to say
    surroundings_.report(result.failure().message);
  }
  return code;
}

// What a killed run left is given back here, before P-states are numbered by what the machine
// shows.
kx_return_t LinuxPStates::claim() {
  if (claimed_.exchange(true)) {
    return kKxReturnExclusiveAccess;
  }
  const kx_return_t begun = told(ledger_.begin());
  claimed_ = begun == kKxReturnSuccess;
  return begun;
}

void LinuxPStates::release() {
  if (give_back() == kKxReturnSuccess) {
    ledger_.end();
  }
  claimed_ = false;
}

kx_return_t LinuxPStates::force(std::uint32_t pstate) {
  return told(control_.force(pstate));
}

kx_return_t LinuxPStates::give_back() {
  return told(control_.give_back());
}

}  // namespace linux_machine
