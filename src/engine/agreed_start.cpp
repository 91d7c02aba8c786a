#include "engine/agreed_start.h"

#include <utility>

#include "engine/nanoseconds.h"
#include "engine/record/record.h"

namespace engine {

std::int64_t AgreedStart::instant_ns() {
  const ClockReading clocks = clocks_();
  const std::int64_t instant_ns = clocks.monotonic_ns + (wall_ns_ - clocks.wall_ns);
  if (record_ != nullptr) {
    record_->start_agreed(wall_ns_, instant_ns);
  }
  return instant_ns;
}

void StartWatch::switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept {
  if (!begun_) {
    late_ns_ = switched_ns - start_.instant_ns();
    begun_ = true;
  }
  if (next_ != nullptr) {
    next_->switched(planned_ns, switched_ns, active);
  }
}

std::optional<std::int64_t> StartWatch::late_ns() const {
  return begun_ ? std::optional(late_ns_) : std::nullopt;
}

std::optional<std::int64_t> SteadySource::next_ns() {
  constexpr std::int64_t kHundredYears = 100LL * 365 * 86400 * kNsPerSecond;
  if (asked_) {
    return std::nullopt;
  }
  asked_ = true;
  return kHundredYears;
}

bool WatchedSource::leaves_out_first() {
  const std::optional<std::int64_t> first = source_.next_ns();
  if (first && *first == 0 && source_.ends_in_edge()) {
    return true;
  }
  first_ = first;
  return false;
}

std::optional<std::int64_t> WatchedSource::next_ns() {
  if (first_) {
    return std::exchange(first_, std::nullopt);
  }
  const std::optional<std::int64_t> next = source_.next_ns();
  if (!next) {
    over_ = true;
  }
  return next;
}

}  // namespace engine
