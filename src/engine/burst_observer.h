#pragma once

#include <cstdint>

/// Who is told when one workload thread follows an edge of the waveform: the record, or nobody.
/// Each thread has an observer of its own. Times are in ns of CLOCK_MONOTONIC.
/// Thread: the workload thread that it belongs to, between two bursts. Must not block, lock or
/// allocate.
class BurstObserver {
 public:
  BurstObserver() = default;
  BurstObserver(const BurstObserver&) = delete;
  BurstObserver& operator=(const BurstObserver&) = delete;
  virtual ~BurstObserver() = default;

  /// The thread has seen the off edge. Its last burst before it ended at `last_burst_end_ns`.
  virtual void left(std::int64_t last_burst_end_ns) noexcept = 0;

  /// The thread has seen the on edge. Its first burst after it begins at `first_burst_begin_ns`,
  /// on `processor` (as the kernel numbers them; -1 if unknown).
  virtual void entered(std::int64_t first_burst_begin_ns, int processor) noexcept = 0;

  /// The thread was on, and did not run from `from_ns` to `until_ns`: the kernel kept the processor
  /// for others. Told by loads that look at the clock between bursts, for gaps of 1 ms and more.
  virtual void held_up(std::int64_t /*from_ns*/, std::int64_t /*until_ns*/) noexcept {}
};
