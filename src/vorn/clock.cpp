#include "vorn/clock.h"

#include <sys/time.h>

#include <cmath>

#include "Assertion/assertion.h"
#include "vorn/module.h"
#include "vorn/numbers.h"

double now() {
  timeval t{};
  assertion(gettimeofday(&t, nullptr) == 0, "gettimeofday(&t, NULL) == 0", kDriverModule, 866);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
}

std::uint32_t until_next(const double& t, const double& period) {
  return to_uint32(1e6 * (period - std::fmod(t, period)));
}
