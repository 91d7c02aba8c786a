#include "vorn/fans.h"

#include <functional>
#include <mutex>
#include <optional>

#include "SMC/SMC.h"
#include "vorn/settings.h"

namespace {

// One batch at a time: all of them read, change and write the one force register.
std::mutex batch;

/// Does `work` with a connection of its own, alone. Returns nothing, or why that failed: not to be
/// printed under the lock, for whoever reads the messages may keep their writer waiting.
std::optional<SMCException> failure_of(const std::function<void(SMC&)>& work) {
  try {
    const std::lock_guard lock(batch);
    SMC smc;
    work(smc);
  } catch (const SMCException& thrown) {
    return thrown;
  }
  return std::nullopt;
}

/// Prints a failure. Returns 0 if there is none, or -1.
int say(const std::optional<SMCException>& failure) {
  if (failure) {
    say_on_the_way_out(failure->description() + '\n');  // who sets fans may keep a shutdown waiting
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
  return say(failure_of([&](SMC& smc) { force_all(smc, names, speed); }));
}

int set_fans_in_run(const std::list<std::string>& names, unsigned int speed) {
  return say(failure_of([&](SMC& smc) {
    if (!params.terminate) {
      force_all(smc, names, speed);
    }
  }));
}

GivenBack give_back_fans(const std::list<std::string>& names) {
  const std::optional<SMCException> failure = failure_of([&](SMC& smc) {
    for (const std::string& fan : names) {
      smc.default_fan(fan);
    }
  });
  if (failure) {
    return {.result = -1, .text = failure->description() + '\n'};
  }
  return {.text = "Fans restored\n"};
}

int restore_fans(const std::list<std::string>& names) {
  return give_back_fans(names).say();
}
