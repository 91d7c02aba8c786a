#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>

namespace simulated {

/// Everything that the simulated machine learns from outside of its model. Tests replace it, and
/// the machine is then exactly repeatable. The functions are called from any thread.
struct Surroundings {
  std::function<std::int64_t()> now_ns;             ///< never runs backwards; any origin
  std::function<std::int64_t()> processor_time_ns;  ///< used so far, over all processors
  std::function<uid_t()> effective_user;
  int processors = 1;  ///< how many share that processor time, at least 1
};

/// The monotonic clock, the processor time of this process, its effective user id, and the
/// processors that it may run on.
Surroundings real_surroundings();

}  // namespace simulated
