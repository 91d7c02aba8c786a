#pragma once

#include <pthread.h>

/// The services that the program needs of the host's kernel, and nothing else of it.
///
/// This is a link-time seam: a program links exactly one implementation (the real Linux host, the
/// simulated machine's, or the tests'). Nothing here throws, and nothing keeps state that its
/// caller can see. Thread: any.
namespace host {

/// What starts and stops a run stands here, one above workloads and service threads.
constexpr int kControlPriority = 64;

/// Gives the program's own task the foreground role. Returns 0, or a non-zero code if refused.
int set_foreground_role();

/// Number of processors that this process may run on, or -1 if the kernel does not tell.
int processor_count();

/// Moves `thread` to the fixed-priority policy (SCHED_FIFO) at exactly `priority` (1 to 99).
/// Returns 0, or an errno value (EPERM: the process has no right to that priority).
/// Requires: `thread` has not ended, or is the calling thread.
int set_fixed_priority(pthread_t thread, int priority);

}  // namespace host
