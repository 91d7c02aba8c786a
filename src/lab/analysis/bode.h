#pragma once

#include <string>
#include <vector>

#include "lab/data/answer.h"
#include "lab/data/known_stages.h"
#include "lab/data/table.h"

namespace lab {

/// A stretch of a record in which the load swung at these frequencies at once.
struct Swing {
  double begin_s = 0;
  double end_s = 0;
  std::vector<double> frequencies_hz;
};

/// A record of swings, of which the response of each key is to be found.
struct BodeInput {
  std::vector<double> time_s;  ///< ascending; need not be even
  std::vector<double> heat;    ///< W, or load 0 to 1; NaN: not read
  bool heat_is_power = true;
  std::string heat_name;
  /// What the load was, 0 to 1, mean since the sample before: as it was asked for, and as the
  /// processors' time has it. The power is somewhere between.
  std::vector<std::vector<double>> loads;
  std::vector<Column> keys;    ///< all that answers
  std::vector<Column> beside;  ///< asked, delivered, others, and fan speeds in RPM
  std::vector<Swing> swings;
  double carrier_hz = 0;
  bool fans_held = false;      ///< at one speed, to which they may have been on their way
  KnownStages predicted;       ///< of another run; empty: those of this one are fitted
  std::string predicted_from;  ///< the name of that run
};

/// What each key does with heat that swings: amplitude for each watt and phase at each frequency,
/// with intervals. The transient at the beginning of each swing is waited for and fitted, whole
/// periods are counted. The mean over which the power is read is found from the data, and taken
/// out: amplitude and phase are those of the key against the heat itself. Beside it stands the
/// curve that stages predict: those that a step's analysis finds in this record, or given ones.
///
/// `figures`:
///   points[].frequency              Hz
///   points[].periods                whole ones that were counted
///   points[].keys.KEY.amplitude     Estimate, "K/W" (of another key, its unit for each watt; for
///                                   full load, "K" and so on, where power is missing)
///   points[].keys.KEY.phase         Estimate, "deg": negative where the key lags
///   points[].keys.KEY.decided       false: the key shows nothing at this frequency
///   points[].keys.KEY.predicted     amplitude, phase; missing where nothing is predicted
///   power                           name, unit, window and lag: Estimates, "s", of its mean; null:
///                                   they cannot be told, or there is no power (then it is "load")
///   predicted_from                  "this run", or the name of another; null: nothing is predicted
///
/// Sources: lock_in.h, power_window.h, rounding_bias.h; the curve of stages is their Foster form at
/// s = j w.
Answer analyse_bode(const BodeInput& input);

}  // namespace lab
