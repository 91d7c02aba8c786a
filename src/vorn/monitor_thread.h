#pragma once

#include "vorn/service_thread.h"

extern ServiceThread monitor_thread;

/// Starts the monitor thread, and gives it half a second for a first sample without load.
/// Returns 0, or -1. Requires: using_monitor_thread().
int spawn_monitor();

/// The monitor thread: writes a line of samples to `output` `monitor_rate` times a second until
/// the run ends. Returns null; the argument is not used.
void* monitor_thread_function(void* arg);
