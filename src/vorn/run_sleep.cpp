#include "vorn/run_sleep.h"

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "vorn/clock.h"
#include "vorn/settings.h"

namespace {

// Never destroyed, like everything that a thread may still use while main() ends.
pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t ended = PTHREAD_COND_INITIALIZER;

timespec as_timespec(std::int64_t ns) {
  constexpr std::int64_t kNanosecondsPerSecond = 1000000000;
  return {.tv_sec = ns / kNanosecondsPerSecond, .tv_nsec = ns % kNanosecondsPerSecond};
}

std::int64_t after(std::uint32_t microseconds) {
  return monotonic_ns() + std::int64_t{microseconds} * 1000;
}

}  // namespace

int run_sleep(std::uint32_t microseconds) {
  return run_sleep_until(after(microseconds));
}

int run_sleep_until(std::int64_t deadline_ns) {
  // A negative time, before the machine was started, is refused by the wait.
  const timespec deadline = as_timespec(std::max<std::int64_t>(deadline_ns, 0));
  pthread_mutex_lock(&mutex);
  int result = 0;
  while (!params.terminate && result == 0) {
    result = pthread_cond_clockwait(&ended, &mutex, CLOCK_MONOTONIC, &deadline);
  }
  pthread_mutex_unlock(&mutex);
  if (result == ETIMEDOUT) {
    return 0;
  }
  errno = EINTR;
  return -1;
}

int undisturbed_sleep(std::uint32_t microseconds) {
  const timespec deadline = as_timespec(after(microseconds));
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
    if (params.terminate) {
      errno = EINTR;
      return -1;
    }
  }
  return 0;
}

void end_run_sleeps() {
  // Taken so that no sleeper stands between its look at `terminate` and its wait.
  pthread_mutex_lock(&mutex);
  pthread_cond_broadcast(&ended);
  pthread_mutex_unlock(&mutex);
}
