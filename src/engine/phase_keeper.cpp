#include "engine/phase_keeper.h"

#include <algorithm>

// After a stop the timing thread goes on from then, so that it has no edges to race through. Its
// plan is later than the waveform by the length of the stop, and would stay so. A lateness that is
// no stop (vorn/edge_plan.h) leaves the plan in its place, and there is nothing to bring back.
//
// How much later is known from the edges that it tells: an edge should have been planned as far
// from the begin as all intervals up to it are long together. The edge at the end of the interval
// that was handed on last is not told yet when the next one is asked for.
//
// What the plan is behind is taken from the intervals to come. Pairs of on and off that are over
// altogether are left out, which keeps the state; of the rest, no interval gives more than half.

namespace engine {

std::int64_t PhaseKeeper::behind_ns() const {
  if (!begin_ns_) {
    return 0;
  }
  const std::int64_t shift_ns = planned_ns_ - (*begin_ns_ + handed_ns_ - last_ns_);
  return handed_ns_ + shift_ns - own_ns_;
}

std::optional<std::int64_t> PhaseKeeper::take() {
  if (ahead_) {
    const std::optional<std::int64_t> taken = ahead_;
    ahead_.reset();
    return taken;
  }
  return source_.next_ns();
}

std::optional<std::int64_t> PhaseKeeper::next_ns() {
  std::int64_t behind = behind_ns();
  std::optional<std::int64_t> interval = take();
  while (interval && behind > *interval) {
    const std::optional<std::int64_t> other = take();
    if (!other) {
      own_ns_ += *interval;
      return std::nullopt;  // it was over before now
    }
    if (behind < *interval + *other) {
      ahead_ = other;
      break;
    }
    behind -= *interval + *other;
    own_ns_ += *interval + *other;
    interval = take();
  }
  if (!interval) {
    return std::nullopt;
  }
  own_ns_ += *interval;
  last_ns_ = *interval - std::clamp<std::int64_t>(behind, 0, *interval / 2);
  handed_ns_ += last_ns_;
  return last_ns_;
}

void PhaseKeeper::switched(std::int64_t planned_ns, std::int64_t switched_ns,
                           bool active) noexcept {
  if (!begin_ns_) {
    begin_ns_ = planned_ns;
  }
  planned_ns_ = planned_ns;
  if (next_ != nullptr) {
    next_->switched(planned_ns, switched_ns, active);
  }
}

}  // namespace engine
