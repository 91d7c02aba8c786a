#include "engine/record/clock_reading.h"

#include <ctime>

namespace {

constexpr int kTries = 5;

std::int64_t read_clock(clockid_t clock) noexcept {
  timespec time{};
  clock_gettime(clock, &time);
  return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

}  // namespace

ClockReading clock_reading() noexcept {
  ClockReading best;
  for (int i = 0; i < kTries; ++i) {
    const std::int64_t before = read_clock(CLOCK_MONOTONIC);
    const std::int64_t wall = read_clock(CLOCK_REALTIME);
    const std::int64_t width = read_clock(CLOCK_MONOTONIC) - before;
    if (i == 0 || width < best.width_ns) {
      best = {.monotonic_ns = before + width / 2, .wall_ns = wall, .width_ns = width};
    }
  }
  return best;
}
