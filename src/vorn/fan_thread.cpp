#include "vorn/fan_thread.h"

#include <cerrno>
#include <cmath>
#include <iostream>
#include <string>

#include "Assertion/assertion.h"
#include "Process/capabilities.h"
#include "vorn/fans.h"
#include "vorn/module.h"
#include "vorn/numbers.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"

ServiceThread fan_thread;

namespace {

/// Sleeps half a period of the wave. Nobody wakes it for the end of the run.
void sleep_half(std::uint32_t half) {
  if (undisturbed_sleep(half) < 0) {
    assertion(errno == EINTR, "errno == EINTR", kDriverModule, 0, "fan_thread_function");
    assertion(params.terminate, "params.terminate", kDriverModule, 0, "fan_thread_function");
  }
}

}  // namespace

std::uint32_t half_period(double hertz) {
  return to_uint32(std::rint(500000.0 / hertz));
}

int spawn_fan() {
  assertion(using_fan_thread(), "using_fan_thread()", kDriverModule);
  return fan_thread.start(fan_thread_function, fan_thread_priority());
}

void* fan_thread_function(void* /*arg*/) {
  // `--fanfrequency` without a speed to switch to ends here. That takes the right to a priority:
  // the load may begin above this thread meanwhile.
  assertion(setting_fans(), "setting_fans()", kDriverModule);
  process::keep_capabilities(process::kNoCapabilities);
  bool stopped = true;
  const std::uint32_t half = half_period(fanfrequency);
  while (!params.terminate) {
    sleep_half(half);
    if (params.terminate) {
      break;
    }
    const std::uint32_t value = stopped ? 0 : rpm;
    if (set_fans_in_run(fans, value) == 0) {
      stopped = !stopped;
    } else {
      // In one write, among what others print.
      std::cerr << "Unable to set fans to " + std::to_string(value) + "RPM\n";
    }
  }
  return nullptr;
}
