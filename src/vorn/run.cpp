#include "vorn/run.h"

#include <iostream>

#include "Process/capabilities.h"
#include "vorn/control_priority.h"
#include "vorn/fan_thread.h"
#include "vorn/machine_notes.h"
#include "vorn/monitor_thread.h"
#include "vorn/notes.h"
#include "vorn/privileged_setup.h"
#include "vorn/schedule_check.h"
#include "vorn/settings.h"
#include "vorn/signals.h"
#include "vorn/thread_notes.h"
#include "vorn/timing_thread.h"
#include "vorn/waveform.h"
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

int failed(const char* message, const ServiceThread& thread) {
  std::cerr << message << std::endl;
  say({note_on_refused_thread(thread.start_error())});
  return failed();
}

/// Waits for the threads that outlive the workloads. The fan thread may take half a period; the
/// others come last, for the shutdown path must be the first to wait for them. Signals are listened
/// for until the end: one that comes after the path ends the wait.
int last_thread_ended() {
  fan_thread.join();
  wait_for_shutdown();
  monitor_thread.join();
  timing_thread.join();
  stop_listening();
  return 0;
}

}  // namespace

int run(const StartBeside& start_beside) {
  if (using_timing_thread() && waveform.source == nullptr && check_schedule() < 0) {
    return -1;
  }
  take_control_priority();
  signals();
  if (start_beside && start_beside() < 0) {
    return failed();  // before the machine is changed: there is nothing to give back
  }
  PrivilegedSetting failed_setting{};
  if (using_privileged_operations() && setup_privileged(&failed_setting) < 0) {
    // The privilege is still raised; the machine is only asked.
    say(notes_on_failed_setup(failed_setting, ask_machine(fans, KeyUse::fans)));
    return failed();
  }
  if (using_fan_thread() && spawn_fan() < 0) {
    return failed("Problem detected while spawning fan thread", fan_thread);
  }
  if (using_monitor_thread() && spawn_monitor() < 0) {
    return failed("Problem detected while spawning monitor thread", monitor_thread);
  }
  if (using_timing_thread() && spawn_timing() < 0) {
    return failed("Unable to spawn timing thread", timing_thread);
  }
  process::keep_capabilities(process::sys_nice());
  if (spawn_workloads() < 0) {
    return failed("Unable to spawn workload(s)");
  }
  return last_thread_ended();
}
