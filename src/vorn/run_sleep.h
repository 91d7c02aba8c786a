#pragma once

#include <cstdint>

/// Sleeps `microseconds`, or until the run ends. Returns 0 if the time has passed, or -1 with
/// errno EINTR if the run ended first (`params.terminate` is then set). Unlike usleep() it is
/// ended by nothing else: a signal that is handled does not end it. Thread: any.
int run_sleep(std::uint32_t microseconds);

/// The same until an instant of CLOCK_MONOTONIC in nanoseconds; at once if it has passed.
int run_sleep_until(std::int64_t deadline_ns);

/// The same for who is not woken at the end of the run: lasts its time even then, unless a
/// signal that is handled interrupts it. Thread: any.
int undisturbed_sleep(std::uint32_t microseconds);

/// Ends every run_sleep() that is under way. Requires: `params.terminate` is set.
void end_run_sleeps();
