#include "vorn/privileged_setup.h"

#include <iostream>
#include <mutex>

#include "vorn/fans.h"
#include "vorn/privilege.h"
#include "vorn/pstate_control.h"
#include "vorn/settings.h"

namespace {

// The run may be ended while the main thread still sets it up, by another thread: what is set must
// be whole before it is given back, and nothing may be set after that.
std::mutex in_progress;

int could_not_set(PrivilegedSetting setting, PrivilegedSetting* failed) {
  if (failed != nullptr) {
    *failed = setting;
  }
  return -1;
}

}  // namespace

int setup_privileged(PrivilegedSetting* failed) {
  const std::lock_guard lock(in_progress);
  if (params.terminate) {
    return 0;
  }
  uid.elevate();
  if (setting_fans() && set_fans(fans, rpm) < 0) {
    std::cerr << "Unable to set fans to " << rpm << "RPM" << std::endl;
    return could_not_set(PrivilegedSetting::fans, failed);
  }
  if (setting_pstate() && set_pstate(pstate) < 0) {
    std::cerr << "Unable to set P-state " << pstate << std::endl;
    return could_not_set(PrivilegedSetting::pstate, failed);
  }
  uid.relinquish();
  return 0;
}

void teardown_privileged() {
  const std::lock_guard lock(in_progress);
  uid.elevate();
  const GivenBack pstate_back = setting_pstate() ? give_back_pstate() : GivenBack{};
  const GivenBack fans_back = setting_fans() ? give_back_fans(fans) : GivenBack{};
  pstate_back.say();
  fans_back.say();
  uid.relinquish();
}
