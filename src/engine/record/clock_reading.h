#pragma once

#include <cstdint>

/// The wall clock and the monotonic clock at one instant. Their difference changes when the wall
/// clock is set, and slowly while it is steered.
struct ClockReading {
  std::int64_t monotonic_ns = 0;
  std::int64_t wall_ns = 0;   ///< since 1970
  std::int64_t width_ns = 0;  ///< the two are of the same instant to half of this
};

/// Reads both: the best of a few tries, since the thread may be interrupted between two readings.
/// Takes about a microsecond. Thread: any.
ClockReading clock_reading() noexcept;
