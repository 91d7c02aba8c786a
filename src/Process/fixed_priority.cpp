#include "Process/fixed_priority.h"

#include <sched.h>

#include <cerrno>

#include "Process/capabilities.h"

int process::set_fixed_priority(pthread_t thread, int priority) {
  sched_param param{};
  param.sched_priority = priority;
  int result = pthread_setschedparam(thread, SCHED_FIFO, &param);
  if (result == EPERM) {
    const RaisedCapability rights(sys_nice());
    if (rights.raised()) {
      result = pthread_setschedparam(thread, SCHED_FIFO, &param);
    }
  }
  return result;
}
