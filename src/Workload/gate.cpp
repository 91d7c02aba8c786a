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
// only to have everybody look again, wherever they wait: at an instant that is announced to those
// who wait already or withdrawn from them, or at a waveform that is on before its instant.
//
// A waiter that finds `active` false at the instant was faster than the thread that switches. It
// looks for a while, and then waits for the broadcast like one that knows of no instant. That is
// also what happens to one that still reads an older instant: nothing depends on the announcement
// but how soon the load begins.

namespace {

constexpr std::int64_t kAhead = 100'000;     // ns: more than the waveform is ever switched ahead
constexpr std::int64_t kPatience = 200'000;  // ns: wake-ups from deep idle take up to 150 us

std::atomic<const workload_params*> announced_of{nullptr};
std::atomic<std::int64_t> announced_ns{0};
std::atomic<std::uint32_t> looks{0};  // how often everybody was told to look again

static_assert(sizeof(looks) == sizeof(std::uint32_t), "the kernel waits on it as on a word");

std::int64_t monotonic_ns() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return std::int64_t{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
}

/// Sleeps until an instant, unless everybody was or is told to look again since `seen` was read.
void sleep_until(std::int64_t deadline_ns, std::uint32_t seen) {
  const timespec deadline{.tv_sec = deadline_ns / 1'000'000'000,
                          .tv_nsec = deadline_ns % 1'000'000'000};
  syscall(SYS_futex, &looks, FUTEX_WAIT_BITSET_PRIVATE, seen, &deadline, nullptr,
          FUTEX_BITSET_MATCH_ANY);
}

/// Waits for the broadcast, unless everybody was or is told to look again since `seen` was read.
void wait_for_the_broadcast(workload_params* params, std::uint32_t seen) {
  pthread_mutex_lock(&params->mutex);
  while (!params->active && looks.load() == seen) {
    pthread_cond_wait(&params->cond, &params->mutex);
  }
  pthread_mutex_unlock(&params->mutex);
}

/// Has everybody look again who waits. Requires: what they are to see is stored.
void wake_waiters(workload_params* params) {
  pthread_mutex_lock(&params->mutex);
  looks.fetch_add(1);
  pthread_cond_broadcast(&params->cond);
  pthread_mutex_unlock(&params->mutex);
  syscall(SYS_futex, &looks, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

/// Waits for what is left until the instant ahead of which the waveform was switched on: one that
/// came to its wait in between would go before the others. Bounded, whatever was announced.
void wait_for_the_rest(const workload_params* params) {
  const std::int64_t on_ns = announced_ns.load();
  const std::uint32_t seen = looks.load();
  const std::int64_t left = on_ns - monotonic_ns();
  if (announced_of.load() == params && left > 0 && left <= kAhead) {
    sleep_until(on_ns, seen);
  }
}

}  // namespace

void wait_until_active(workload_params* params) {
  if (params->active) {
    return;
  }
  while (!params->active) {
    const std::uint32_t seen = looks.load();
    if (params->active) {  // who was told to look before `seen` was read sees it here
      break;
    }
    const std::int64_t on_ns = announced_ns.load();
    const std::int64_t late = monotonic_ns() - on_ns;
    if (announced_of.load() != params || late > kPatience) {
      wait_for_the_broadcast(params, seen);
    } else if (late < 0) {
      sleep_until(on_ns, seen);
    }
  }
  wait_for_the_rest(params);
}

void announce_on(workload_params* params, std::int64_t on_ns) {
  announced_ns.store(on_ns);
  announced_of.store(params);
}

void announce_on_to_waiters(workload_params* params, std::int64_t on_ns) {
  announce_on(params, on_ns);
  wake_waiters(params);
}

void announce_nothing() {
  announced_of.store(nullptr);
}

void withdraw_from_waiters(workload_params* params) {
  announce_nothing();
  wake_waiters(params);
}

void release_waiters(workload_params* params) {
  pthread_mutex_lock(&params->mutex);
  params->active = true;
  pthread_mutex_unlock(&params->mutex);
  wake_waiters(params);
}
