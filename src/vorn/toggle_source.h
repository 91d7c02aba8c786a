#pragma once

#include <cstddef>
#include <vector>

#include "vorn/clock.h"
#include "vorn/drift_correction.h"
#include "vorn/interval_source.h"

/// The power waveform of the settings: the toggle schedule, over and over, true to the wall clock.
class ToggleSource : public IntervalSource {
 public:
  /// Makes the schedule, which may take seconds. Requires: `frequency` is set.
  explicit ToggleSource(DriftCorrection::Clocks clocks = both_clocks);

  std::optional<std::int64_t> next_ns() override;

 private:
  std::vector<unsigned> schedule_;  // microseconds
  DriftCorrection drift_;
  double stretch_;  // nanoseconds for each microsecond of the schedule
  std::size_t next_ = 0;
  double owed_ns_ = 0.0;  // of the intervals so far, what whole nanoseconds could not hold
  bool under_way_ = false;
};
