#pragma once

#include <cstdint>

/// The wall-clock time in seconds, to the microsecond. Thread: any.
double now();

/// Nanoseconds of CLOCK_MONOTONIC, which no one sets and which stands still while the machine is
/// suspended. Thread: any.
std::int64_t monotonic_ns();

/// The wall clock and the monotonic clock at one instant, in seconds.
struct ClockPair {
  double wall;
  double monotonic;
};

/// Both clocks, read within some microseconds of each other if the machine allows it. Thread: any.
ClockPair both_clocks();

/// Microseconds from time `t` to the next whole multiple of `period` (both in seconds), truncated;
/// a whole period, never 0, if `t` is itself a multiple.
std::uint32_t until_next(const double& t, const double& period);
