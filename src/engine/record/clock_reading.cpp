#include "engine/record/clock_reading.h"

#include <ctime>

#include "vorn/clock.h"

namespace {

constexpr int kTries = 5;

std::int64_t wall_ns() noexcept {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

}  // namespace

ClockReading clock_reading() noexcept {
  ClockReading best;
  for (int i = 0; i < kTries; ++i) {
    const std::int64_t before = monotonic_ns();
    const std::int64_t wall = wall_ns();
    const std::int64_t width = monotonic_ns() - before;
    if (i == 0 || width < best.width_ns) {
      best = {.monotonic_ns = before + width / 2, .wall_ns = wall, .width_ns = width};
    }
  }
  return best;
}
