#pragma once

#include <cstdint>
#include <functional>

namespace simulated {

/// The processor time of the process, each thread's weighted by the activity of its work
/// (Workload/activity.h). Asking every thread takes a system call each, so that is done so seldom
/// that it takes no more than a fiftieth of one processor; between, the weight stays as it was.
/// Not for two threads at once.
class WeightedTime {
 public:
  struct Sources {
    std::function<std::int64_t()> now_ns;
    std::function<std::int64_t()> processor_time_ns;  ///< of the process, unweighted
    std::function<double()> excess_ns;                ///< activity_excess_ns(), or a test's
  };

  explicit WeightedTime(Sources sources);

  /// Weighted time so far in ns. Never less than the last one.
  std::int64_t operator()();

 private:
  Sources sources_;
  std::int64_t next_asking_ns_;
  std::int64_t asked_time_ns_;  ///< unweighted, when the threads were asked last
  double excess_ns_;            ///< their answer then
  double excess_per_ns_ = 0;    ///< of unweighted time, between the last two answers
  std::int64_t last_ = 0;
};

}  // namespace simulated
