#include "engine/agreed_start.h"

#include <ctime>
#include <limits>
#include <utility>

#include "engine/nanoseconds.h"
#include "engine/record/record.h"

namespace engine {

namespace {

std::int64_t read(clockid_t clock) {
  timespec t{};
  clock_gettime(clock, &t);
  return t.tv_sec * kNsPerSecond + t.tv_nsec;
}

}  // namespace

Clocks read_clocks() {
  constexpr int kTries = 5;  // a reader that is interrupted between two clocks tries again
  Clocks best{};
  std::int64_t least = std::numeric_limits<std::int64_t>::max();
  for (int tries = 0; tries < kTries; ++tries) {
    const std::int64_t before = read(CLOCK_MONOTONIC);
    const std::int64_t wall = read(CLOCK_REALTIME);
    const std::int64_t after = read(CLOCK_MONOTONIC);
    if (after - before < least) {
      least = after - before;
      best = {.wall_ns = wall, .monotonic_ns = before + least / 2};
    }
  }
  return best;
}

std::int64_t AgreedStart::instant_ns() {
  const Clocks clocks = clocks_();
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
  if (first && *first == 0) {
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
