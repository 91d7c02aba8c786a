#include "Process/foremost_thread.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

#include "Process/fixed_priority.h"
#include "Process/threads.h"

namespace {

/// The highest fixed priority that RLIMIT_RTPRIO allows; 0: none.
int most_allowed(int most) {
  rlimit limit{};
  if (getrlimit(RLIMIT_RTPRIO, &limit) != 0) {
    return 0;
  }
  return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, static_cast<rlim_t>(most)));
}

/// Needs no right: whoever runs a process may lower its threads.
void make_the_others_ordinary() {
  const sched_param ordinary{};
  for (const pid_t thread : process::threads()) {
    if (thread != gettid()) {
      sched_setscheduler(thread, SCHED_OTHER, &ordinary);
    }
  }
}

}  // namespace

void process::become_foremost_thread() noexcept {
  const int most = sched_get_priority_max(SCHED_FIFO);
  if (set_fixed_priority(pthread_self(), most) == 0) {
    return;
  }
  if (const int allowed = most_allowed(most); allowed > 0) {
    set_fixed_priority(pthread_self(), allowed);
  }
  make_the_others_ordinary();
}
