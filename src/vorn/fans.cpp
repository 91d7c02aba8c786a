#include "vorn/fans.h"

#include <iostream>
#include <mutex>

#include "SMC/SMC.h"
#include "vorn/settings.h"

namespace {

// One batch at a time: all of them read, change and write the one force register.
std::mutex batch;

int force_all(const std::list<std::string>& names, unsigned int speed) {
  try {
    SMC smc;
    for (const std::string& fan : names) {
      if (speed == kMaximumSpeed) {
        smc.set_fan(fan);
      } else {
        smc.set_fan(fan, speed);
      }
    }
  } catch (SMCException& failure) {
    std::cerr << failure << std::endl;
    return -1;
  }
  return 0;
}

}  // namespace

int set_fans(const std::list<std::string>& names, unsigned int speed) {
  const std::lock_guard lock(batch);
  return force_all(names, speed);
}

int set_fans_in_run(const std::list<std::string>& names, unsigned int speed) {
  const std::lock_guard lock(batch);
  return params.terminate ? 0 : force_all(names, speed);
}

int restore_fans(const std::list<std::string>& names) {
  const std::lock_guard lock(batch);
  try {
    SMC smc;
    for (const std::string& fan : names) {
      smc.default_fan(fan);
    }
  } catch (SMCException& failure) {
    std::cerr << failure << std::endl;
    return -1;
  }
  std::cerr << "Fans restored" << std::endl;
  return 0;
}
