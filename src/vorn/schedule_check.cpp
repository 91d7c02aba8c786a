#include "vorn/schedule_check.h"

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <limits>
#include <new>
#include <vector>

#include "Process/free_memory.h"
#include "vorn/toggle_schedule.h"

bool schedule_fits(double intervals, double memory_bytes) {
  // Counted in 32 bits, slot by slot.
  constexpr double kMostIntervals = 2.0 * std::numeric_limits<std::uint32_t>::max();
  return intervals <= kMostIntervals && intervals * sizeof(unsigned) <= memory_bytes / 2;
}

int check_schedule() {
  const double intervals = toggle_count();
  const double memory_bytes =
      process::free_memory().value_or(std::numeric_limits<double>::infinity());
  bool fits = schedule_fits(intervals, memory_bytes);
  try {
    if (fits) {
      std::vector<unsigned>().reserve(static_cast<std::size_t>(intervals));
    }
  } catch (const std::bad_alloc&) {
    fits = false;
  }
  if (fits) {
    return 0;
  }
  constexpr double kMegabyte = 1e6;
  std::cerr << "The waveform's schedule is too large for memory: one wave of " << intervals
            << " intervals takes " << intervals * sizeof(unsigned) / kMegabyte
            << " MB, at most half of the " << memory_bytes / kMegabyte
            << " MB that are free may be used; choose a lower frequency (-f) or a faster envelope "
               "(-z, -e)"
            << std::endl;
  return -1;
}
