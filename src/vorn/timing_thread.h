#pragma once

#include "vorn/service_thread.h"

extern ServiceThread timing_thread;

/// Starts the timing thread. Returns 0, or -1. Requires: using_timing_thread().
int spawn_timing();

/// The timing thread: plays the waveform (vorn/waveform.h), switching `params.active`, until the
/// run ends; ends the run where the waveform ends. Returns null; `arg` is not used.
void* timing_thread_function(void* arg);
