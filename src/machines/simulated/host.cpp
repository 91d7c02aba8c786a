#include "Host/host.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>

#include "Process/fixed_priority.h"
#include "machines/linux_kernel/linux_kernel.h"
#include "machines/simulated/priority_grant.h"

int simulated::granted(int kernel_answer) {
  static std::atomic<bool> said = false;
  if (kernel_answer != EPERM) {
    return kernel_answer;
  }
  if (!said.exchange(true)) {
    const std::string notice = std::string(program_invocation_short_name) +
                               ": no right to fixed priorities, threads run at ordinary priority; "
                               "CAP_SYS_NICE (setcap, or a container's --cap-add) gives them\n";
    // One write: other threads may be printing.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, notice.data(), notice.size());
  }
  return 0;
}

int host::set_foreground_role() {
  return 0;
}

int host::processor_count() {
  return linux_kernel::processor_count();
}

int host::set_fixed_priority(pthread_t thread, int priority) {
  return simulated::granted(process::set_fixed_priority(thread, priority));
}
