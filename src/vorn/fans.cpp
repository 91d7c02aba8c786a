#include "vorn/fans.h"

#include <functional>
#include <iostream>
#include <mutex>
#include <optional>

#include "SMC/SMC.h"
#include "vorn/settings.h"

namespace {

// One batch at a time: all of them read, change and write the one force register.
std::mutex batch;

/// Does `work` with a connection of its own, alone. Returns 0, or -1 after printing why: outside of
/// the lock, for whoever reads the messages may keep their writer waiting.
int alone(const std::function<void(SMC&)>& work) {
  std::optional<SMCException> failure;
  try {
    const std::lock_guard lock(batch);
    SMC smc;
    work(smc);
  } catch (const SMCException& thrown) {
    failure = thrown;
  }
  if (failure) {
    std::cerr << failure->description() + '\n';  // in one write, among what others print
    return -1;
  }
  return 0;
}

void force_all(SMC& smc, const std::list<std::string>& names, unsigned int speed) {
  for (const std::string& fan : names) {
    if (speed == kMaximumSpeed) {
      smc.set_fan(fan);
    } else {
      smc.set_fan(fan, speed);
    }
  }
}

}  // namespace

int set_fans(const std::list<std::string>& names, unsigned int speed) {
  return alone([&](SMC& smc) { force_all(smc, names, speed); });
}

int set_fans_in_run(const std::list<std::string>& names, unsigned int speed) {
  return alone([&](SMC& smc) {
    if (!params.terminate) {
      force_all(smc, names, speed);
    }
  });
}

int restore_fans(const std::list<std::string>& names) {
  const int result = alone([&](SMC& smc) {
    for (const std::string& fan : names) {
      smc.default_fan(fan);
    }
  });
  if (result == 0) {
    std::cerr << "Fans restored" << std::endl;
  }
  return result;
}
