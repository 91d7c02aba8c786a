#pragma once

#include <cstdint>

#include "vorn/service_thread.h"

extern ServiceThread fan_thread;

/// Starts the fan thread. Returns 0, or -1. Requires: using_fan_thread().
int spawn_fan();

/// Half a period of a wave of `hertz`, in microseconds, rounded (ties to even), saturating.
std::uint32_t half_period(double hertz);

/// The fan thread: switches all fans between a stop and `rpm` as a square wave at `fanfrequency`
/// until it wakes after the end of the run. Returns null; the argument is not used.
void* fan_thread_function(void* arg);
