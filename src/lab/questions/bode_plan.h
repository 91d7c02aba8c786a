#pragma once

#include <string>
#include <vector>

#include "lab/plan/plan.h"

namespace lab {

/// What is asked of a frequency response.
struct BodeWishes {
  double from_hz = 0.02;
  double to_hz = 2;
  int points = 7;
  std::vector<double> frequencies_hz;  ///< these instead of from, to and points
  double duty = 0.45;                  ///< mean
  double depth = 0.8;                  ///< from the lowest duty to the highest
  int periods = 3;                     ///< whole ones that are counted, at least
  double least_s = 30;                 ///< so long each frequency is counted, at least
  double idle_s = 5;  ///< before all that, without load: in it held fans come to speed
  bool until_settled = true;
  double settle_s = 600;  ///< at the mean duty before the first swing; at most, if until_settled
  bool fast = false;      ///< all frequencies at once, if that takes less time
};

/// The plan: idle, the mean duty until the temperatures stand, then the frequencies from the lowest
/// to the highest, each for half a period (3 s at least) that is waited for and the whole periods
/// that are counted; or one sum of sinusoids, whose frequencies are moved to whole multiples of
/// one. Carrier and sampling rate are chosen so that no alias of them lies near a frequency. Throws
/// PlanError for wishes that contradict each other.
Plan bode_plan(const BodeWishes& wishes);

/// Frequencies that have a common period.
struct Harmonic {
  double base_hz = 0;
  std::vector<double> frequencies_hz;  ///< whole multiples of it
};

/// The frequencies moved to multiples of their least one, of its half, its third and so on to its
/// eighth: the first of these that moves none by more than the part `near`, or the one that moves
/// them least. Throws PlanError if two of them come to lie on one place. Requires: ascending.
Harmonic harmonic(const std::vector<double>& frequencies_hz, double near);

}  // namespace lab
