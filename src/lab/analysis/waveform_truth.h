#pragma once

#include <cstdint>
#include <optional>

#include "lab/analysis/spread.h"
#include "lab/data/estimate.h"
#include "lab/data/stimulus.h"

namespace lab {

/// A stretch of a run: instants of CLOCK_MONOTONIC.
struct Stretch {
  std::int64_t from_ns = 0;
  std::int64_t to_ns = 0;
};

/// What became of a square wave. Of fewer than three periods, nothing is known.
struct WaveformTruth {
  std::size_t periods = 0;
  Spread on;    ///< each thread's begin behind each on edge
  Spread off;   ///< each thread's end behind each off edge
  Spread skew;  ///< the last thread's begin behind the first one's, of each on edge
  std::optional<Estimate> frequency;  ///< Hz, by the machine's own clock
  double duty_asked = 0;              ///< as planned, over the same time
  /// The part of the time between a thread's begin and its end, mean of the threads.
  double duty_between = 0;
  /// Processor time of the loads over that of their processors, by the kernel's account.
  std::optional<Estimate> duty;
};

/// Judges the part of the load that lies in `stretch`, whose waveform has `carrier_hz`.
WaveformTruth waveform_truth(const Stimulus& stimulus, const Stretch& stretch, double carrier_hz);

/// How far behind its grid of whole periods each sample was complete: the wake-up of its thread,
/// and the reading of all keys. Samples that were left out are those missed.
Spread behind_the_grid(const Stimulus& stimulus, double rate_hz);

}  // namespace lab
