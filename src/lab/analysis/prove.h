#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/analysis/kernel_view.h"
#include "lab/analysis/rise_time.h"
#include "lab/analysis/sensor_truth.h"
#include "lab/analysis/waveform_truth.h"
#include "lab/data/answer.h"
#include "lab/data/scheduler_trace.h"
#include "lab/data/stimulus.h"
#include "lab/data/table.h"

namespace lab {

/// A run that proves the tool: bursts so short that the machine is as good as idle, a square wave,
/// steps of the load.
struct ProveInput {
  Stimulus stimulus;
  SchedulerTrace scheduler;
  Table samples;
  double carrier_hz = 0;
  double rate_hz = 0;             ///< of the samples, as asked
  std::optional<Stretch> floor;   ///< the short bursts; nothing if there were none
  double floor_on_s = 0;          ///< their length
  std::optional<Stretch> square;  ///< likewise
  std::vector<LoadStep> steps;    ///< on the clock of `samples`
};

/// What a sensor can show.
struct SensorReach {
  std::string name;
  std::string unit;
  SensorTruth truth;
  std::optional<RiseTime> rise;      ///< of powers
  std::optional<double> highest_hz;  ///< the fastest wave that it shows; nothing: it cannot be told
};

/// Everything that is found of a run, before it is put into words.
struct Proof {
  double carrier_hz = 0;
  double rate_hz = 0;
  double floor_on_s = 0;
  WaveformTruth floor;
  WaveformTruth square;
  std::optional<KernelView> kernel;  ///< of the square wave; nothing: no trace was taken
  Spread grid;                       ///< each sample behind its grid
  std::vector<SensorReach> sensors;
  bool fixed_priority = false;  ///< every thread of the load had one
  bool cut = false;             ///< the stimulus was longer than what is kept of it
};

/// How well the tool works on this machine, and what the sensors can resolve.
///
/// `figures`: verdict (text); waveform: frequency (Estimate), duty_asked, duty (Estimate, by the
/// kernel's account), duty_between_edges, and in us on_edges, off_edges and skew; floor: the same
/// in us; kernel_trace (null: none was taken): the same of the square wave, read_behind (us) and
/// lost; sampling: rate, behind_grid, left_out; keys.KEY: step, update_interval, rise_time, delay,
/// highest_frequency. Times in us are objects of median, percentile_99, most, count, missed.
Answer analyse_prove(const ProveInput& input);

}  // namespace lab
