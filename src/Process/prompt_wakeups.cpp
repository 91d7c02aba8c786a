#include "Process/prompt_wakeups.h"

#include <sys/prctl.h>

namespace process {

void wake_promptly() noexcept {
  prctl(PR_SET_TIMERSLACK, 1UL);  // ns; 0 would stand for the default
}

}  // namespace process
