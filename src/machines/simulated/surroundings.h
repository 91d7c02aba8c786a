#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>

namespace simulated {

/// Everything that the simulated machine learns from outside of its model. Tests replace it, and
/// the machine is then exactly repeatable. The functions are called from any thread, one at a time.
struct Surroundings {
  std::function<std::int64_t()> now_ns;  ///< never runs backwards; any origin
  /// Used so far, over all processors, weighted by the activity of the work that it was used for.
  std::function<std::int64_t()> processor_time_ns;
  std::function<uid_t()> effective_user;
  int processors = 1;  ///< how many share that processor time, at least 1
};

/// The monotonic clock, the weighted processor time of this process, its effective user id, and the
/// processors that it may run on.
Surroundings real_surroundings();

}  // namespace simulated
