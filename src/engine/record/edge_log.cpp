#include "engine/record/edge_log.h"

#include "engine/record/clock_reading.h"

void EdgeLog::start_agreed(std::int64_t wall_ns, std::int64_t planned_ns) noexcept {
  wanted_wall_ns_.store(wall_ns, std::memory_order_relaxed);
  agreed_ns_.store(planned_ns, std::memory_order_relaxed);
}

void EdgeLog::switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept {
  events_.push({.planned_ns = planned_ns, .switched_ns = switched_ns, .active = active});
  if (!first_) {
    return;
  }
  first_ = false;
  const std::int64_t wanted_wall_ns = wanted_wall_ns_.load(std::memory_order_relaxed);
  if (wanted_wall_ns != kNone) {
    // The wall clock may have been set since the start was agreed: what it says at this edge is
    // what other machines compare with.
    const ClockReading reading = clock_reading();
    start_ = {.wanted_wall_ns = wanted_wall_ns,
              .planned_ns = agreed_ns_.load(std::memory_order_relaxed),
              .switched_ns = switched_ns,
              .switched_wall_ns = reading.wall_ns - (reading.monotonic_ns - switched_ns)};
    begun_.store(true, std::memory_order_release);
  }
}

std::optional<MetStart> EdgeLog::start() const noexcept {
  if (!begun_.load(std::memory_order_acquire)) {
    return std::nullopt;
  }
  return start_;
}
