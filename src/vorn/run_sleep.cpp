#include "vorn/run_sleep.h"

#include <pthread.h>

#include <cerrno>
#include <ctime>

#include "vorn/settings.h"

namespace {

// Never destroyed, like everything that a thread may still use while main() ends.
pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t ended = PTHREAD_COND_INITIALIZER;

timespec after(std::uint32_t microseconds) {
  constexpr long kNanosecondsPerSecond = 1000000000L;
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  t.tv_sec += static_cast<time_t>(microseconds / 1000000U);
  t.tv_nsec += static_cast<long>(microseconds % 1000000U) * 1000L;
  if (t.tv_nsec >= kNanosecondsPerSecond) {
    t.tv_nsec -= kNanosecondsPerSecond;
    ++t.tv_sec;
  }
  return t;
}

}  // namespace

int run_sleep(std::uint32_t microseconds) {
  const timespec deadline = after(microseconds);
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
  const timespec deadline = after(microseconds);
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
