#pragma once

#include <cstdint>
#include <optional>

#include "lab/analysis/spread.h"
#include "lab/analysis/waveform_truth.h"
#include "lab/data/scheduler_trace.h"
#include "lab/data/stimulus.h"

namespace lab {

/// A square wave as the kernel's trace of its scheduler shows it: a thread begins when it is given
/// a processor, and ends when it loses it.
struct KernelView {
  WaveformTruth wave;     ///< of on, off, skew, frequency and duty_between; no processor time
  Spread read_behind;     ///< each begin that the engine wrote down, behind that of the kernel, us;
                          ///< missed: begins of which the trace has no switch
  std::int64_t lost = 0;  ///< events that are missing in the trace
};

/// The spread of what the trace has: on a virtual machine some switches from idle leave no event,
/// and that a begin is not in the trace says nothing of when it was.
Spread seen(const Spread& spread);

/// Lays the trace over the record. Nothing if no trace was taken, or none of the record's threads
/// is in it.
std::optional<KernelView> kernel_view(const Stimulus& stimulus, const SchedulerTrace& trace,
                                      const Stretch& stretch, double carrier_hz);

}  // namespace lab
