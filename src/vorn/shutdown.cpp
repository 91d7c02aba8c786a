#include "vorn/shutdown.h"

#include <atomic>
#include <csignal>

#include "Assertion/assertion.h"
#include "Workload/gate.h"
#include "vorn/module.h"
#include "vorn/monitor_thread.h"
#include "vorn/privileged_setup.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"
#include "vorn/timing_thread.h"

namespace {

// A reader who has stopped reading keeps the monitor thread in its write. The machine must be given
// back even so.
constexpr int kPatience = 1;  // seconds

}  // namespace

void sig_int_alrm(int signo) {
  assertion(signo == SIGINT || signo == SIGALRM, "signo == SIGINT || signo == SIGALRM",
            kDriverModule);
  static std::atomic<bool> running_sig_int_alrm{false};
  if (running_sig_int_alrm.exchange(true)) {
    return;
  }
  params.terminate = true;
  release_waiters(&params);
  end_run_sleeps();
  timing_thread.join();
  // Once more, now that nobody switches the waveform: its last interval may have been one of no
  // length, which asks nobody before it switches.
  release_waiters(&params);
  monitor_thread.join_within(kPatience);
  if (using_privileged_operations()) {
    teardown_privileged();
  }
  running_sig_int_alrm = false;
}
