#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "engine/readiness.h"
#include "vorn/edge_observer.h"

namespace engine {

/// Takes the edges on their way to another observer. At the first one it starts the run's time, and
/// keeps how many loads were not there to follow it.
class WaveformBegin : public EdgeObserver {
 public:
  using ArmTimer = void (*)(std::int64_t length_ns);

  /// `length_ns`: of the run, if it has one. `next` may be null. None is owned.
  WaveformBegin(const Readiness& readiness, std::optional<std::int64_t> length_ns,
                EdgeObserver* next, ArmTimer arm);

  void switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept override;

  /// How many loads were not made when the waveform began; 0 if it has not. Thread: any.
  unsigned loads_missed() const { return loads_missed_; }

 private:
  const Readiness& readiness_;
  std::optional<std::int64_t> length_ns_;
  EdgeObserver* next_;
  ArmTimer arm_;
  bool begun_ = false;
  std::atomic<unsigned> loads_missed_{0};
};

}  // namespace engine
