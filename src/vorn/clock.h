#pragma once

#include <cstdint>

/// The wall-clock time in seconds, to the microsecond. Thread: any.
double now();

/// Microseconds from time `t` to the next whole multiple of `period` (both in seconds), truncated;
/// a whole period, never 0, if `t` is itself a multiple.
std::uint32_t until_next(const double& t, const double& period);
