#pragma once

#include <cstdint>
#include <vector>

namespace lab {

/// What the kernel's trace of its scheduler says of the threads of an engine.
struct SchedulerTrace {
  /// A thread was given a processor, or lost it.
  struct Switch {
    std::int64_t instant_ns = 0;  ///< of CLOCK_MONOTONIC, in whole us
    std::int64_t task = 0;        ///< the thread's number in the kernel
    bool on = false;
  };

  bool taken = false;            ///< the trace could be taken
  std::int64_t lost = 0;         ///< events that found no room in the kernel's buffers
  std::vector<Switch> switches;  ///< in the order of time
};

}  // namespace lab
