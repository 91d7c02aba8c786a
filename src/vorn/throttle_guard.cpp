#include "vorn/throttle_guard.h"

#include <poll.h>
#include <sched.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "Process/capabilities.h"
#include "Process/threads.h"
#include "vorn/ordinary_thread.h"
#include "vorn/settings.h"

// Of each second, the kernel keeps 50 ms for ordinary threads. Kernels differ in how: some give
// them to ordinary threads that want to run, others let fixed-priority threads stand still for
// that long whether anybody wants to run or not. There, one run in twenty would take up to 50 ms
// to end, whatever the priority of the thread that ends it.
//
// So an ordinary thread watches for the end as well. Beside a load it gets to run only when fixed
// priorities stand still; on an idle processor it may be the first. It sets the end, and lets every
// thread go on as an ordinary one: the load, which was started last, first, so that whoever stands
// above it keeps its place until the load has lost its own.

namespace {

void* guard(void* descriptor) {
  process::keep_capabilities(process::kNoCapabilities);
  pollfd pending{};
  pending.fd = *static_cast<const int*>(descriptor);
  pending.events = POLLIN;
  while (poll(&pending, 1, -1) != 1) {  // interrupted
  }
  end_run_among_ordinary_threads();
  return nullptr;
}

}  // namespace

void end_run_among_ordinary_threads() {
  params.terminate = true;
  const std::vector<pid_t> threads = process::threads();
  const sched_param ordinary{};
  std::for_each(threads.rbegin(), threads.rend(),
                [&ordinary](pid_t thread) { sched_setscheduler(thread, SCHED_OTHER, &ordinary); });
}

bool start_throttle_guard(const sigset_t& signals) {
  static int descriptor = -1;  // the thread's, for good
  descriptor = signalfd(-1, &signals, SFD_CLOEXEC);
  if (descriptor < 0) {
    return false;
  }
  pthread_t thread{};
  if (!start_ordinary_thread(thread, guard, &descriptor)) {
    close(descriptor);
    return false;
  }
  pthread_detach(thread);
  return true;
}
