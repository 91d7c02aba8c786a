#include "vorn/signals.h"

#include <pthread.h>
#include <semaphore.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>

#include "Process/capabilities.h"
#include "vorn/settings.h"
#include "vorn/shutdown.h"
#include "vorn/throttle_guard.h"

// The shutdown path locks, joins, allocates and prints, none of which a signal handler may do to
// the thread that it interrupted: that thread may hold params.mutex, or stand in the middle of an
// allocation. So every thread blocks the signals, and one, the listener, waits for them and runs
// the path as ordinary code. It stands above the load, or it would wait for the kernel's reserve.

namespace {

sigset_t listened;  // written by signals() before the listener starts
pthread_t listener;
sem_t path_completed;
bool listening = false;  // main thread only
int (*status_at_once)() = [] { return EXIT_SUCCESS; };
std::atomic<int> ended_by{0};
std::atomic<bool> closing{false};  // relaxed suffices: the signal that follows it is the order

// From here on a second thought may kill: a shutdown can hang on what it gives back.
void let_quit_through() {
  sigset_t quit;
  sigemptyset(&quit);
  sigaddset(&quit, SIGQUIT);
  pthread_sigmask(SIG_UNBLOCK, &quit, nullptr);
}

/// Forgets the signals that came while the run was being stopped.
void drop_pending() {
  const timespec no_time{};
  while (sigtimedwait(&listened, nullptr, &no_time) > 0) {
  }
}

/// Runs the shutdown path for the first signal. What the run changed is then given back, and the
/// process may only be waiting for half a period of the fans, or for a reader of its samples who
/// has stopped reading: a further signal, but the timer's, ends it without either.
void* listen(void* /*arg*/) {
  process::keep_capabilities(process::kNoCapabilities);
  int signo = 0;
  if (sigwait(&listened, &signo) != 0 || closing.load(std::memory_order_relaxed)) {
    return nullptr;
  }
  let_quit_through();
  sigdelset(&listened, SIGQUIT);
  ended_by = signo == SIGALRM ? SIGALRM : SIGINT;
  sig_int_alrm(ended_by);
  drop_pending();
  sem_post(&path_completed);
  sigdelset(&listened, SIGALRM);
  if (sigwait(&listened, &signo) == 0 && !closing.load(std::memory_order_relaxed)) {
    _exit(status_at_once());  // as the run would have ended, but for what keeps it
  }
  return nullptr;
}

bool is_ignored(int signo) {
  struct sigaction action {};
  return sigaction(signo, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// Whoever reads the samples or the messages has gone. The write goes on to fail quietly, and the
// run ends like any other: what it changed must be given back.
void lost_reader(int /*signo*/) {
  end_run();
}

void listen_for_other_ends() {
  for (const int signo : {SIGTERM, SIGHUP, SIGQUIT}) {
    if (!is_ignored(signo)) {
      sigaddset(&listened, signo);
    }
  }
  signal(SIGXFSZ, SIG_IGN);  // a limit of file sizes is to the samples what a full disk is
  if (!is_ignored(SIGPIPE)) {
    signal(SIGPIPE, lost_reader);
  }
}

// Installed as well as listened for, although it never runs as a handler: a shell that starts a job
// in the background lets it ignore SIGINT, and an ignored signal may be dropped although blocked.
void listen_for(int signo, const char* failure) {
  sigaddset(&listened, signo);
  pthread_sigmask(SIG_BLOCK, &listened, nullptr);
  if (signal(signo, sig_int_alrm) == SIG_ERR) {
    throw std::string(failure);
  }
}

// Nobody would watch over the fans of a run that stands still.
void stay_awake_over_fans() {
  if (using_privileged_operations() && setting_fans()) {
    signal(SIGTSTP, SIG_IGN);
  }
}

void start_listener() {
  sem_init(&path_completed, 0, 0);
  start_throttle_guard(listened);  // without it, one run in twenty ends up to 50 ms later
  listening = pthread_create(&listener, nullptr, listen, nullptr) == 0;
  if (!listening) {
    throw std::string("Error registering SIGINT handler.");
  }
}

void arm_timer() {
  constexpr std::int64_t kMicroseconds = 1000000;  // in a second
  itimerval once{};
  once.it_value.tv_sec = trial_time + additional_time_us / kMicroseconds;
  once.it_value.tv_usec = additional_time_us % kMicroseconds;
  if (setitimer(ITIMER_REAL, &once, nullptr) != 0) {
    throw std::string("Error setting timer.");
  }
}

}  // namespace

void signals() {
  sigemptyset(&listened);
  listen_for_other_ends();
  stay_awake_over_fans();
  listen_for(SIGINT, "Error registering SIGINT handler.");
  if (using_timer()) {
    listen_for(SIGALRM, "Error registering SIGALRM handler.");
  }
  start_listener();
  if (using_timer()) {
    arm_timer();
  }
}

void use_status_at_once(int (*status)()) {
  status_at_once = status;
}

void end_run() {
  if (!params.terminate) {
    kill(getpid(), SIGINT);
  }
}

void wait_for_shutdown() {
  if (!listening || !params.terminate) {
    return;
  }
  while (sem_wait(&path_completed) != 0) {  // interrupted
  }
  sem_post(&path_completed);  // for whoever waits next
}

void stop_listening() {
  if (!listening) {
    return;
  }
  wait_for_shutdown();
  // A signal of the user's that comes between the two lines is taken for this function's own, and
  // the shutdown path does not run for it. That is only where a run did not start, and ends anyway.
  closing.store(true, std::memory_order_relaxed);
  pthread_kill(listener, SIGINT);
  pthread_join(listener, nullptr);
  listening = false;
  let_quit_through();
}

int ending_signal() {
  return ended_by;
}
