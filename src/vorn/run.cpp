#include "vorn/run.h"

#include <iostream>

#include "vorn/control_priority.h"
#include "vorn/fan_thread.h"
#include "vorn/monitor_thread.h"
#include "vorn/privileged_setup.h"
#include "vorn/settings.h"
#include "vorn/signals.h"
#include "vorn/timing_thread.h"
#include "vorn/workload_threads.h"

namespace {

/// Ends a run that could not be started. What runs already is not ended, but a shutdown that has
/// begun is completed.
int failed() {
  stop_listening();
  return -1;
}

int failed(const char* message) {
  std::cerr << message << std::endl;
  return failed();
}

/// Waits for the threads that outlive the workloads. The fan thread may take half a period; the
/// others come last, for the shutdown path must be the first to wait for them.
int last_thread_ended() {
  fan_thread.join();
  stop_listening();
  monitor_thread.join();
  timing_thread.join();
  return 0;
}

}  // namespace

int run(const StartBeside& start_beside) {
  take_control_priority();
  signals();
  if (using_privileged_operations() && setup_privileged() < 0) {
    return failed();
  }
  if (start_beside && start_beside() < 0) {
    return failed();
  }
  if (using_fan_thread() && spawn_fan() < 0) {
    return failed("Problem detected while spawning fan thread");
  }
  if (using_monitor_thread() && spawn_monitor() < 0) {
    return failed("Problem detected while spawning monitor thread");
  }
  if (using_timing_thread() && spawn_timing() < 0) {
    return failed("Unable to spawn timing thread");
  }
  if (spawn_workloads() < 0) {
    return failed("Unable to spawn workload(s)");
  }
  return last_thread_ended();
}
