#pragma once

#include <vector>

#include "processor_probe.h"

/// What was asked for: one wave as pairs of on and off times in seconds, played over and over.
struct Slot {
  double on;
  double off;
  double length() const { return on + off; }
};

/// What was found of it on one processor.
struct Measured {
  double duty;                    ///< part of the time between the first and last on that was on
  double frequency_error;         ///< relative, of the slots' mean length; positive is too fast
  std::vector<double> on_errors;  ///< found minus wanted, seconds, for each on that can be told
  double disturbed;  ///< part of the ons left out because somebody else used the processor
  double on_load;    ///< part of the on time that others had the processor
  double off_load;   ///< the same of the off time
};

/// Finds the on phases in the holes that a probe saw, and compares them with `wave`. Slots whose on
/// or off is shorter than a tenth of a slot cannot be told from their neighbours and are left out
/// of the errors, and so are ons in which somebody else than the witness's threads used the
/// processor for 100 us (and 0.5 % of the time) or more. Returns nothing measured (empty
/// `on_errors`) from fewer than three on phases.
Measured analyse(const std::vector<Interval>& holes, const std::vector<Slot>& wave);

/// The `part` (0 to 1) percentile of the absolute values; 0 of none. By nearest rank.
double percentile_of_absolute(std::vector<double> values, double part);
