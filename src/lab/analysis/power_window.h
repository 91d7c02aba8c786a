#pragma once

#include <complex>
#include <vector>

#include "lab/data/estimate.h"

namespace lab {

/// What a reading of power, the load and a temperature did at one frequency.
struct PowerTone {
  double frequency_hz = 0;
  std::complex<double> power;   ///< W, as it was read
  double power_variance = 0;    ///< of each part
  double freedom = 0;           ///< of that variance
  std::complex<double> load;    ///< of the load itself, 0 to 1
  std::complex<double> heat_k;  ///< K: of the place whose temperature changes the power; 0: none
};

/// What a power reading does to the power: it is a mean over some time, and comes late.
struct PowerWindow {
  Estimate window;            ///< s: of the mean
  Estimate lag;               ///< s: half the window, if the mean is plain and read at once
  bool known = false;         ///< the lag's interval is short against the periods
  double watts = 0;           ///< from no load to full load
  double watts_a_kelvin = 0;  ///< what leaks more for each kelvin
};

/// What a mean over `window_s` that is `lag_s` late does to a sinusoid: sin(x)/x, turned back.
std::complex<double> window_response(double window_s, double lag_s, double frequency_hz);

/// Finds window and lag. The power follows the load at once, and a little the temperature
/// (leakage):
///   reading = response(window, lag) * (watts * load + watts_a_kelvin * heat).
/// With fewer than three frequencies the lag is half the window, with one there is no leakage.
/// Requires: tones are not empty.
PowerWindow power_window(const std::vector<PowerTone>& tones);

/// One for two that hold the load for different things: between them, with an interval that holds
/// both of theirs.
PowerWindow between(const PowerWindow& one, const PowerWindow& other);

}  // namespace lab
