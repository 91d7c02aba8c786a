#pragma once

/// Who is told of the samples.
class SampleObserver {
 public:
  SampleObserver() = default;
  SampleObserver(const SampleObserver&) = delete;
  SampleObserver& operator=(const SampleObserver&) = delete;
  virtual ~SampleObserver() = default;

  /// A sample was taken `elapsed_s` after the sampling began, and written or lost.
  /// Thread: the monitor thread; must not block, lock, or allocate.
  virtual void sample_taken(double elapsed_s) noexcept = 0;
};
