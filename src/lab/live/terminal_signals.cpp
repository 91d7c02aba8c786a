#include "lab/live/terminal_signals.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <csignal>

#include "lab/live/terminal.h"

namespace lab {

namespace {

std::atomic<bool> continued = false;
static_assert(std::atomic<bool>::is_always_lock_free);

// Signals whose default action ends a process, and that something other than a mistake of the
// program's author sends, or that say of such a mistake.
constexpr int kFatal[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGABRT,
                          SIGBUS, SIGFPE, SIGILL,  SIGSEGV};

sigset_t just(int signal) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  return set;
}

extern "C" {

void handle_fatal(int signal) {
  restore_terminal();
  // The default action is back already (SA_RESETHAND), and taken when the handler returns.
  (void)raise(signal);
}

void handle_continue(int /*signal*/) {
  continued = true;
}

void handle_stop(int signal) {
  const int error = errno;
  restore_terminal();
  struct sigaction usual {};
  struct sigaction ours {};
  usual.sa_handler = SIG_DFL;
  (void)sigaction(signal, &usual, &ours);
  (void)raise(signal);
  // The process stops here, until it is continued.
  const sigset_t stop = just(signal);
  sigset_t before;
  (void)pthread_sigmask(SIG_UNBLOCK, &stop, &before);
  (void)pthread_sigmask(SIG_SETMASK, &before, nullptr);
  (void)sigaction(signal, &ours, nullptr);
  errno = error;
}

}  // extern "C"

void handle_if_default(int signal, void (*handler)(int), int flags) {
  struct sigaction present {};
  if (sigaction(signal, nullptr, &present) != 0 || present.sa_handler != SIG_DFL) {
    return;
  }
  struct sigaction ours {};
  ours.sa_handler = handler;
  ours.sa_flags = flags;
  (void)sigaction(signal, &ours, nullptr);
}

void default_if_handled(int signal, void (*handler)(int)) {
  struct sigaction present {};
  if (sigaction(signal, nullptr, &present) == 0 && present.sa_handler == handler) {
    struct sigaction usual {};
    usual.sa_handler = SIG_DFL;
    (void)sigaction(signal, &usual, nullptr);
  }
}

}  // namespace

void catch_signals() {
  for (const int signal : kFatal) {
    handle_if_default(signal, handle_fatal, static_cast<int>(SA_RESETHAND));
  }
  handle_if_default(SIGTSTP, handle_stop, SA_RESTART);
  handle_if_default(SIGCONT, handle_continue, SA_RESTART);
  continued = false;
}

void leave_signals() {
  for (const int signal : kFatal) {
    default_if_handled(signal, handle_fatal);
  }
  default_if_handled(SIGTSTP, handle_stop);
  default_if_handled(SIGCONT, handle_continue);
}

bool was_continued() {
  return continued;
}

void clear_continued() {
  continued = false;
}

StopLater::StopLater() : was_blocked_(false) {
  const sigset_t stop = just(SIGTSTP);
  sigset_t before;
  (void)pthread_sigmask(SIG_BLOCK, &stop, &before);
  was_blocked_ = sigismember(&before, SIGTSTP) == 1;
}

StopLater::~StopLater() {
  if (!was_blocked_) {
    const sigset_t stop = just(SIGTSTP);
    (void)pthread_sigmask(SIG_UNBLOCK, &stop, nullptr);
  }
}

}  // namespace lab
