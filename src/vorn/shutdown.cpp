#include "vorn/shutdown.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <string>

#include "Assertion/assertion.h"
#include "vorn/control_priority.h"
#include "vorn/module.h"
#include "vorn/monitor_thread.h"
#include "vorn/privileged_setup.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"
#include "vorn/throttle_guard.h"
#include "vorn/timing_thread.h"

// The shutdown path locks, joins, allocates and prints, none of which a signal handler may do to
// the thread that it interrupted: that thread may hold params.mutex, or stand in the middle of an
// allocation. So every thread blocks the signals, and one, the listener, waits for them and runs
// the path as ordinary code. It stands above the load, or it would wait for the kernel's reserve:
// it inherits the main thread's priority.

namespace {

sigset_t listened;  // written by signals() before the listener starts
pthread_t listener;
bool listening = false;            // main thread only
std::atomic<bool> closing{false};  // relaxed suffices: the signal that follows it is the order

void* listen(void* /*arg*/) {
  int signo = 0;
  while (sigwait(&listened, &signo) == 0 && !closing.load(std::memory_order_relaxed)) {
    sig_int_alrm(signo == SIGALRM ? SIGALRM : SIGINT);
  }
  return nullptr;
}

// Whoever reads the samples or the messages has gone. The write goes on to fail quietly, and the
// run ends like any other: what it changed must be given back.
void lost_reader(int /*signo*/) {
  if (!params.terminate) {
    kill(getpid(), SIGINT);
  }
}

// Left ignored where it is (a run that shall outlive its terminal), else it ends the run.
void listen_unless_ignored(int signo) {
  struct sigaction action {};
  if (sigaction(signo, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
    sigaddset(&listened, signo);
  }
}

// Installed as well as listened for: a shell that starts a job in the background lets it ignore
// SIGINT, and a signal that is ignored may be dropped although it is blocked.
void listen_for(int signo, const char* failure) {
  sigaddset(&listened, signo);
  pthread_sigmask(SIG_BLOCK, &listened, nullptr);
  if (signal(signo, sig_int_alrm) == SIG_ERR) {
    throw std::string(failure);
  }
}

void start_listener() {
  listening =
      start_throttle_guard(listened) && pthread_create(&listener, nullptr, listen, nullptr) == 0;
  if (!listening) {
    throw std::string("Error registering SIGINT handler.");
  }
}

void arm_timer() {
  itimerval once{};
  once.it_value.tv_sec = trial_time;
  if (setitimer(ITIMER_REAL, &once, nullptr) != 0) {
    throw std::string("Error setting timer.");
  }
}

// The waiters leave their wait only when they find `active` true.
void release_waiters() {
  pthread_mutex_lock(&params.mutex);
  params.active = true;
  pthread_cond_broadcast(&params.cond);
  pthread_mutex_unlock(&params.mutex);
}

}  // namespace

void signals() {
  take_control_priority();
  sigemptyset(&listened);
  listen_unless_ignored(SIGTERM);
  listen_unless_ignored(SIGHUP);
  listen_unless_ignored(SIGQUIT);
  signal(SIGPIPE, lost_reader);
  listen_for(SIGINT, "Error registering SIGINT handler.");
  if (trial_time != 0) {
    listen_for(SIGALRM, "Error registering SIGALRM handler.");
  }
  start_listener();
  if (trial_time != 0) {
    arm_timer();
  }
}

void sig_int_alrm(int signo) {
  assertion(signo == SIGINT || signo == SIGALRM, "signo == SIGINT || signo == SIGALRM",
            kDriverModule);
  static std::atomic<bool> running_sig_int_alrm{false};
  if (running_sig_int_alrm.exchange(true)) {
    return;
  }
  params.terminate = true;
  release_waiters();
  end_run_sleeps();
  timing_thread.join();
  // Once more, now that nobody switches the waveform: its last interval may have been one of no
  // length, which asks nobody before it switches.
  release_waiters();
  monitor_thread.join();
  if (using_privileged_operations()) {
    teardown_privileged();
  }
  running_sig_int_alrm = false;
}

void stop_listening() {
  if (!listening) {
    return;
  }
  closing.store(true, std::memory_order_relaxed);
  pthread_kill(listener, SIGINT);
  pthread_join(listener, nullptr);
  listening = false;
}
