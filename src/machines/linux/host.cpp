#include "Host/host.h"

#include "Process/fixed_priority.h"
#include "machines/linux_kernel/linux_kernel.h"

// The kernel has no such role: a thread's policy and priority say it all.
int host::set_foreground_role() {
  return 0;
}

int host::processor_count() {
  return linux_kernel::processor_count();
}

int host::set_fixed_priority(pthread_t thread, int priority) {
  return process::set_fixed_priority(thread, priority);
}
