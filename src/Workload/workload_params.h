#pragma once

#include <pthread.h>

#include "Workload/relaxed_flag.h"

/// What the workload threads share with those who switch and end them. The program has one, the
/// driver's `params`; its mutex and condition variable are never destroyed.
struct workload_params {
  /// True while blocking workloads spin, false while they wait; how, gate.h says. Those who spin,
  /// and those who wait for an announced instant, read it without a lock, those who wait on `cond`
  /// with `mutex` held. It is changed with `mutex` held and then broadcast, but for intervals of no
  /// length, which flip it alone.
  RelaxedFlag active;
  pthread_mutex_t mutex;  ///< guards `active` between waiters and wakers; nothing is held with it
  pthread_cond_t cond;    ///< broadcast when `active` changes under `mutex`
  /// Goes from false to true once, without the lock, when the run must end. Every loop polls it.
  RelaxedFlag terminate;
};
