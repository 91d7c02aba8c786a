#include "engine/phase_keeper.h"

#include <algorithm>

// After a stop the timing thread goes on from then, so that it has no edges to race through. Its
// plan is later than the waveform by the length of the stop, and would stay so. A lateness that is
// no stop (vorn/edge_plan.h) leaves the plan in its place, and there is nothing to bring back.
//
// How much later is known from the edges that it tells: an edge should have been planned as far
// from the begin as all intervals up to it are long together. The edge at the end of the interval
// that was handed on last is not told yet when the next one is asked for. An end without an edge is
// told as well, and says the same.
//
// What the plan is behind is taken from the intervals to come. Pairs of on and off that are over
// altogether are left out, which keeps the state; of the rest, no interval gives more than half. An
// interval that ends without an edge is left out by itself, and as the second of a pair it is one
// with those behind it.

namespace engine {

std::int64_t PhaseKeeper::behind_ns() const {
  if (!begin_ns_) {
    return 0;
  }
  return handed_ns_ + shift_ns_ - own_ns_;
}

std::optional<std::int64_t> PhaseKeeper::take() {
  if (ahead_) {
    const std::optional<std::int64_t> taken = ahead_;
    ahead_.reset();
    return taken;
  }
  return source_.next_ns();
}

/// The intervals up to the next edge, as one; fewer once they are longer than `most_ns`.
std::optional<std::int64_t> PhaseKeeper::take_to_edge(std::int64_t most_ns) {
  std::optional<std::int64_t> sum = source_.next_ns();
  while (sum && *sum <= most_ns && !source_.ends_in_edge()) {
    const std::optional<std::int64_t> more = source_.next_ns();
    if (!more) {
      return std::nullopt;
    }
    *sum += *more;
  }
  return sum;
}

bool PhaseKeeper::ends_in_edge() {
  return ahead_ || source_.ends_in_edge();  // what is kept back belongs to an edge in front of it
}

std::optional<std::int64_t> PhaseKeeper::next_ns() {
  std::int64_t behind = behind_ns();
  std::optional<std::int64_t> interval = take();
  while (interval && behind > *interval) {
    if (!source_.ends_in_edge()) {
      behind -= *interval;
      own_ns_ += *interval;
      interval = take();
      continue;
    }
    const std::optional<std::int64_t> other = take_to_edge(behind - *interval);
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
  planned(planned_ns);
  if (next_ != nullptr) {
    next_->switched(planned_ns, switched_ns, active);
  }
}

void PhaseKeeper::stayed(std::int64_t planned_ns) noexcept {
  planned(planned_ns);
  if (next_ != nullptr) {
    next_->stayed(planned_ns);
  }
}

/// Takes where the interval was planned to end that was handed on before the last one.
void PhaseKeeper::planned(std::int64_t planned_ns) noexcept {
  shift_ns_ = planned_ns - (*begin_ns_ + handed_ns_ - last_ns_);
}

}  // namespace engine
