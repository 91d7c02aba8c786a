#pragma once

#include <cstdint>
#include <random>

#include "lab/analysis/waveform_truth.h"
#include "lab/data/stimulus.h"

namespace lab {

/// A square wave as an engine with two threads would have recorded it.
struct FakeWaveform {
  std::int64_t begin_ns = 1'000'000'000;
  double carrier_hz = 100;
  double duty = 0.5;
  int periods = 1000;
  double late_us = 5;    ///< on and off edges, of thread 0
  double skew_us = 3;    ///< thread 1 behind thread 0
  double noise_us = 0;   ///< of each begin, uniform from 0
  double kept_away = 0;  ///< part of the on time in which a thread had no processor
  double slow = 0;       ///< part by which each period was longer than planned
  int missed_every = 0;  ///< thread 1 leaves out each so many-th on phase; 0: none

  /// Adds the wave to what there is. Returns its stretch.
  Stretch add_to(Stimulus& stimulus) const;
};

}  // namespace lab
