#include "vorn/control_priority.h"

#include <pthread.h>

#include "Host/host.h"
#include "vorn/workload_threads.h"

void take_control_priority() {
  if (host::set_fixed_priority(pthread_self(), host::kControlPriority) != 0) {
    // A user whose limit is just what the threads ask for can still rise above workloads at 31.
    // At the workloads' own priority it would wait for them for ever; as an ordinary thread it
    // gets the kernel's reserve.
    const int service_priority = host::kControlPriority - 1;
    if (workload_thread_priority() < service_priority) {
      host::set_fixed_priority(pthread_self(), service_priority);
    }
  }
}
