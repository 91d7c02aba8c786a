#include "Workload/gate.h"

// The first look is taken without the lock. Threads that took it between all bursts would queue
// for it: on two processors they sleep for it several times in each on phase, and on dozens most of
// them would do nothing else. A look that comes just too early or too late costs one burst.

namespace {

void wait_for_the_broadcast(workload_params* params) {
  pthread_mutex_lock(&params->mutex);
  while (!params->active) {
    pthread_cond_wait(&params->cond, &params->mutex);
  }
  pthread_mutex_unlock(&params->mutex);
}

}  // namespace

void wait_until_active(workload_params* params) {
  if (!params->active) {
    wait_for_the_broadcast(params);
  }
}
