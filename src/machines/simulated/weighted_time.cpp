#include "machines/simulated/weighted_time.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Workload/activity.h"

namespace simulated {

WeightedTime::WeightedTime(Sources sources)
    : sources_(std::move(sources)),
      next_asking_ns_(sources_.now_ns()),
      asked_time_ns_(sources_.processor_time_ns()),
      excess_ns_(sources_.excess_ns()) {}

std::int64_t WeightedTime::operator()() {
  constexpr std::int64_t kPause = 50;  // times as long as asking took
  const std::int64_t time_ns = sources_.processor_time_ns();
  const std::int64_t begin_ns = sources_.now_ns();
  if (begin_ns >= next_asking_ns_) {
    const double excess_ns = sources_.excess_ns();
    if (time_ns > asked_time_ns_) {
      // The kernel counts the process and its threads at different moments, and a difference of two
      // small numbers could be anything.
      excess_per_ns_ =
          std::clamp((excess_ns - excess_ns_) / static_cast<double>(time_ns - asked_time_ns_),
                     -kOrdinaryActivity, 1 - kOrdinaryActivity);
    }
    excess_ns_ = excess_ns;
    asked_time_ns_ = time_ns;
    const std::int64_t end_ns = sources_.now_ns();
    next_asking_ns_ = end_ns + kPause * (end_ns - begin_ns);
  }
  const double weighted = kOrdinaryActivity * static_cast<double>(time_ns) + excess_ns_ +
                          excess_per_ns_ * static_cast<double>(time_ns - asked_time_ns_);
  last_ = std::max<std::int64_t>(last_, std::llround(weighted));
  return last_;
}

}  // namespace simulated
