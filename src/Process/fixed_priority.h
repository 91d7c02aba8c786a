#pragma once

#include <pthread.h>

namespace process {

/// Moves `thread` to SCHED_FIFO at `priority` (1 to 99). Returns 0 or an errno value. A thread
/// that is permitted CAP_SYS_NICE without having it effective uses it for this one call.
/// Requires: `thread` has not ended. Thread: any.
int set_fixed_priority(pthread_t thread, int priority);

}  // namespace process
