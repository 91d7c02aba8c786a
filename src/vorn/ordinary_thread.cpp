#include "vorn/ordinary_thread.h"

#include <sched.h>

bool start_ordinary_thread(pthread_t& thread, void* (*body)(void*), void* argument) {
  const sched_param ordinary{};  // unset, it would be the creator's
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setinheritsched(&attr, PTHREAD_EXPLICIT_SCHED);
  pthread_attr_setschedpolicy(&attr, SCHED_OTHER);
  pthread_attr_setschedparam(&attr, &ordinary);
  const int result = pthread_create(&thread, &attr, body, argument);
  pthread_attr_destroy(&attr);
  return result == 0;
}
