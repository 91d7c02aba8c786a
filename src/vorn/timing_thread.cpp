#include "vorn/timing_thread.h"

#include <cerrno>
#include <vector>

#include "Assertion/assertion.h"
#include "vorn/clock.h"
#include "vorn/drift_correction.h"
#include "vorn/module.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"
#include "vorn/toggle_schedule.h"

ServiceThread timing_thread;

namespace {

/// Sleeps one interval. Returns whether the run goes on.
bool sleep_through(std::uint32_t microseconds) {
  if (run_sleep(microseconds) != 0) {
    assertion(errno == EINTR, "errno == EINTR", kDriverModule, 1051, "timing_thread_function");
    assertion(params.terminate, "params.terminate", kDriverModule, 1052, "timing_thread_function");
  }
  return !params.terminate;
}

// The workloads take the lock every few hundred nanoseconds. Asleep for it, this thread would find
// it taken again when it wakes, several times over. So it tries for a while first; not for long,
// since the workload that has the lock may be the one that this thread keeps from running.
void lock_soon() {
  constexpr int kTries = 2000;  // some tens of microseconds
  for (int tries = 0; tries < kTries; ++tries) {
    if (pthread_mutex_trylock(&params.mutex) == 0) {
      return;
    }
  }
  pthread_mutex_lock(&params.mutex);
}

// Looks at `terminate` once more under the lock: the shutdown path, which makes `active` true and
// wakes everybody, may have come in between, and must have the last word.
void switch_and_wake() {
  lock_soon();
  if (!params.terminate) {
    params.active = !params.active;
    pthread_cond_broadcast(&params.cond);
  }
  pthread_mutex_unlock(&params.mutex);
}

// An interval of no length is over at once: no sleep, no lock, and nobody is woken for it. The
// waiters see it at their next test.
void switch_in_passing() {
  params.active = !params.active;
}

void play(const std::vector<unsigned>& schedule, DriftCorrection& drift) {
  for (const unsigned interval : schedule) {
    if (params.terminate) {  // millions of intervals of no length may follow
      return;
    }
    if (interval != 0) {
      if (!sleep_through(drift.corrected(interval))) {
        return;
      }
      switch_and_wake();
    } else {
      switch_in_passing();
    }
    drift.interval_ended();
  }
}

}  // namespace

int spawn_timing() {
  assertion(using_timing_thread(), "using_timing_thread()", kDriverModule);
  return timing_thread.start(timing_thread_function, timing_thread_priority());
}

void* timing_thread_function(void* /*arg*/) {
  std::vector<unsigned> schedule;
  const double slot = toggle_times(schedule);
  DriftCorrection drift(slot, now);
  while (!params.terminate) {
    play(schedule, drift);
  }
  return nullptr;
}
