#pragma once

#include <pthread.h>

/// What every machine on Linux asks its kernel for. Nothing here throws or keeps state.
/// Thread: any.
namespace linux_kernel {

/// Number of processors that this process may run on, as nproc counts; -1 if the kernel does not
/// tell.
int processor_count();

/// Moves `thread` to SCHED_FIFO at `priority` (1 to 99). Returns 0 or an errno value. A thread
/// that is permitted CAP_SYS_NICE without having it effective uses it for this one call.
/// Requires: `thread` has not ended.
int set_fixed_priority(pthread_t thread, int priority);

}  // namespace linux_kernel
