#pragma once

#include "vorn/service_thread.h"

extern ServiceThread fan_thread;

/// Starts the fan thread. Returns 0, or -1. Requires: using_fan_thread().
int spawn_fan();

/// The fan thread: switches all fans between a stop and `rpm` as a square wave at `fanfrequency`
/// until it wakes after the end of the run. Returns null; the argument is not used.
void* fan_thread_function(void* arg);
