#pragma once

#include <atomic>
#include <cstdint>

#include "vorn/clock.h"
#include "vorn/waveform.h"

namespace engine {

/// How many workload threads have yet to make their load, which takes some of them a second: a load
/// measures its bursts, and touches its memory. Thread: any.
class Readiness {
 public:
  /// `threads`: how many there will be. Until this is called nobody is ready.
  void expect(unsigned threads) { missing_ = threads; }

  /// One more thread has made its load. At most once for each.
  void made() noexcept { --missing_; }

  unsigned missing() const noexcept { return missing_; }

 private:
  std::atomic<unsigned> missing_{1};
};

/// The waveform begins as soon as all loads are made, so that none misses its first edges.
class StartWhenReady : public WaveformStart {
 public:
  using Clock = std::int64_t (*)();

  /// `readiness` is not owned.
  explicit StartWhenReady(const Readiness& readiness, Clock clock = monotonic_ns)
      : readiness_(readiness), clock_(clock) {}

  /// A moment ahead as long as a load is missing; then the instant at which all were found made,
  /// and time for the last of them to reach its wait.
  std::int64_t instant_ns() override;

 private:
  const Readiness& readiness_;
  Clock clock_;
  std::int64_t begin_ns_ = 0;  ///< 0: not known yet
};

}  // namespace engine
