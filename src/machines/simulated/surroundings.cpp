#include "machines/simulated/surroundings.h"

#include <unistd.h>

#include <algorithm>
#include <ctime>

#include "Workload/activity.h"
#include "machines/linux_kernel/linux_kernel.h"
#include "machines/simulated/weighted_time.h"

namespace {

std::int64_t clock_ns(clockid_t clock) {
  constexpr std::int64_t kNsPerS = 1'000'000'000;
  timespec time{};
  clock_gettime(clock, &time);
  return time.tv_sec * kNsPerS + time.tv_nsec;
}

}  // namespace

simulated::Surroundings simulated::real_surroundings() {
  const auto now_ns = [] { return clock_ns(CLOCK_MONOTONIC); };
  return {.now_ns = now_ns,
          .processor_time_ns =
              WeightedTime({.now_ns = now_ns,
                            .processor_time_ns = [] { return clock_ns(CLOCK_PROCESS_CPUTIME_ID); },
                            .excess_ns = activity_excess_ns}),
          .effective_user = geteuid,
          .processors = std::max(1, linux_kernel::processor_count())};
}
