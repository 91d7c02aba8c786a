#include "Workload/Workload.h"

#include <pthread.h>

#include "Host/host.h"

Workload::Workload(unsigned /*core*/, unsigned priority) {
  if (host::set_fixed_priority(pthread_self(), static_cast<int>(priority)) != 0) {
    throw WorkloadThreadException();
  }
}

void Workload::init() {
  if (host::set_foreground_role() != 0) {
    throw WorkloadPolicyException();
  }
}
