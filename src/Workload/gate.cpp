#include "Workload/gate.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <ctime>

// The first look is taken without the lock. Threads that took it between all bursts would queue
// for it: on two processors they sleep for it several times in each on phase, and on dozens most of
// them would do nothing else.
//
// Woken by a broadcast, the waiters come one after the other: the thread that switches wakes each,
// stands in the way of the one that last ran on its own processor, and each takes the mutex. So a
// waiter that knows when the waveform will be on sleeps until then by a timer of its own, on its
// own processor, and finds `active` true when it wakes. It sleeps on a futex word and not on the
// condition variable, whose waiters take the mutex even when their time is up. The word changes
// only to let everybody go before the instant.
//
// A waiter that finds `active` false at the instant was faster than the thread that switches. It
// looks for a while, and then waits for the broadcast like one that knows of no instant. That is
// also what happens to one that still reads an older instant: nothing depends on the announcement
// but how soon the load begins.

namespace {

constexpr std::int64_t kPatience = 200'000;  // ns: wake-ups from deep idle take up to 150 us

std::atomic<const workload_params*> announced_of{nullptr};
std::atomic<std::int64_t> announced_ns{0};
std::atomic<std::uint32_t> released{0};  // counts release_waiters()

static_assert(sizeof(released) == sizeof(std::uint32_t), "the kernel waits on it as on a word");

std::int64_t monotonic_ns() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return std::int64_t{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
}

/// Sleeps until an instant, unless somebody was or is released since `seen` was read.
void sleep_until(std::int64_t deadline_ns, std::uint32_t seen) {
  const timespec deadline{.tv_sec = deadline_ns / 1'000'000'000,
                          .tv_nsec = deadline_ns % 1'000'000'000};
  syscall(SYS_futex, &released, FUTEX_WAIT_BITSET_PRIVATE, seen, &deadline, nullptr,
          FUTEX_BITSET_MATCH_ANY);
}

/// Waits for the announced instant. Returns whether the waveform was on then, or soon after.
bool wait_for_the_instant(workload_params* params) {
  for (;;) {
    const std::uint32_t seen = released.load();
    if (params->active) {
      return true;
    }
    if (announced_of.load() != params) {
      return false;
    }
    const std::int64_t late = monotonic_ns() - announced_ns.load();
    if (late < 0) {
      sleep_until(announced_ns.load(), seen);
    } else if (late > kPatience) {
      return false;
    }
  }
}

void wait_for_the_broadcast(workload_params* params) {
  pthread_mutex_lock(&params->mutex);
  while (!params->active) {
    pthread_cond_wait(&params->cond, &params->mutex);
  }
  pthread_mutex_unlock(&params->mutex);
}

}  // namespace

void wait_until_active(workload_params* params) {
  if (!params->active && !wait_for_the_instant(params)) {
    wait_for_the_broadcast(params);
  }
}

void announce_on(workload_params* params, std::int64_t on_ns) {
  announced_ns.store(on_ns);
  announced_of.store(params);
}

void release_waiters(workload_params* params) {
  pthread_mutex_lock(&params->mutex);
  params->active = true;
  pthread_cond_broadcast(&params->cond);
  pthread_mutex_unlock(&params->mutex);
  released.fetch_add(1);
  syscall(SYS_futex, &released, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}
