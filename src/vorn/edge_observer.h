#pragma once

#include <cstdint>

/// Who is told of the waveform's edges.
class EdgeObserver {
 public:
  EdgeObserver() = default;
  EdgeObserver(const EdgeObserver&) = delete;
  EdgeObserver& operator=(const EdgeObserver&) = delete;
  virtual ~EdgeObserver() = default;

  /// The waveform has begun (the first call) or was switched, and is on if `active`. Times in ns of
  /// CLOCK_MONOTONIC: when it should have been, and when the loads were free to follow; never
  /// before it should have been, since waiting loads sleep until then. Edges that became overdue
  /// together are told one after the other. After a stop of the process (more than 20 ms) the plan
  /// goes on from then, so the next planned time is further away than the interval is long.
  /// Thread: the timing thread; must not block, lock, or allocate.
  virtual void switched(std::int64_t planned_ns, std::int64_t switched_ns,
                        bool active) noexcept = 0;

  /// An interval has ended without an edge (IntervalSource::ends_in_edge()), at this planned
  /// instant. Thread: as above.
  virtual void stayed(std::int64_t /*planned_ns*/) noexcept {}
};
