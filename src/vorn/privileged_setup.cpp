#include "vorn/privileged_setup.h"

#include <mutex>
#include <string>

#include "vorn/fans.h"
#include "vorn/given_back.h"
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

/// Does `change` with the privilege while the run lasts. Returns what it returns.
template <class Change>
int changed(const Change& change) {
  const std::lock_guard lock(in_progress);
  if (params.terminate) {
    return 0;
  }
  uid.elevate();
  const int result = change();
  uid.relinquish();
  return result;
}

}  // namespace

int setup_privileged(PrivilegedSetting* failed) {
  const std::lock_guard lock(in_progress);
  if (params.terminate) {
    return 0;
  }
  uid.elevate();
  if (setting_fans() && set_fans(fans, rpm) < 0) {
    say_on_the_way_out("Unable to set fans to " + std::to_string(rpm) + "RPM\n");
    return could_not_set(PrivilegedSetting::fans, failed);
  }
  if (setting_pstate() && set_pstate(pstate) < 0) {
    say_on_the_way_out("Unable to set P-state " + std::to_string(pstate) + "\n");
    return could_not_set(PrivilegedSetting::pstate, failed);
  }
  uid.relinquish();
  return 0;
}

int change_fans(const std::list<std::string>& names, unsigned int speed) {
  return changed([&] { return set_fans(names, speed); });
}

int change_pstate(std::int32_t number) {
  return changed([&] { return set_pstate(number); });
}

void teardown_privileged() {
  std::string said;
  {
    const std::lock_guard lock(in_progress);
    uid.elevate();
    if (setting_pstate()) {
      said += give_back_pstate().text;
    }
    if (setting_fans()) {
      said += give_back_fans(fans).text;
    }
    uid.relinquish();
  }
  say_on_the_way_out(said);  // when all is given back: a reader may keep it waiting
}
