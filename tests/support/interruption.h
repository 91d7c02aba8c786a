#pragma once

#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

#include "Process/threads.h"

/// Interrupts every thread of this process in the system call that it is in, with a signal that is
/// handled and does nothing.
inline void interrupt_every_thread() {
  struct sigaction nothing {};  // and no SA_RESTART
  nothing.sa_handler = [](int) {};
  sigaction(SIGUSR1, &nothing, nullptr);
  for (const pid_t thread : process::threads()) {
    syscall(SYS_tgkill, getpid(), thread, SIGUSR1);
  }
}
