#include "vorn/clock.h"

#include <sys/time.h>

#include <cmath>
#include <ctime>
#include <limits>

#include "Assertion/assertion.h"
#include "vorn/module.h"
#include "vorn/numbers.h"

double now() {
  timeval t{};
  assertion(gettimeofday(&t, nullptr) == 0, "gettimeofday(&t, NULL) == 0", kDriverModule, 866);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
}

std::int64_t monotonic_ns() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return std::int64_t{t.tv_sec} * 1000000000 + t.tv_nsec;
}

// Whoever is interrupted between the two reads takes a pair that does not belong together. Of a few
// tries, the one that took the least time is the one that was interrupted least.
ClockPair both_clocks() {
  constexpr int kTries = 4;
  ClockPair best{};
  std::int64_t least = std::numeric_limits<std::int64_t>::max();
  for (int tries = 0; tries < kTries; ++tries) {
    const std::int64_t before = monotonic_ns();
    const double wall = now();
    const std::int64_t took = monotonic_ns() - before;
    if (took < least) {
      least = took;
      best = {wall, 1e-9 * (static_cast<double>(before) + 0.5 * static_cast<double>(took))};
    }
  }
  return best;
}

std::uint32_t until_next(const double& t, const double& period) {
  return to_uint32(1e6 * (period - std::fmod(t, period)));
}
