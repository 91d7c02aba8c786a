#pragma once

#include <complex>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

#include "lab/analysis/bode.h"
#include "lab/analysis/power_window.h"
#include "lab/analysis/sensor_truth.h"
#include "lab/data/estimate.h"

namespace lab {

inline constexpr double kDegrees = 180 / std::numbers::pi;  ///< in a radian

/// What is fast in a machine has come to rest after so long: a swing is not counted before, nor in
/// its first half period.
inline constexpr double kFastParts_s = 3;

/// What one key did at one frequency.
struct KeyPoint {
  bool there = false;  ///< something was measured
  bool decided = false;
  Estimate amplitude{};
  Estimate phase{};  ///< degrees, within [-180, 180] but for its bounds
  double swing = 0;  ///< of the key as it was read, from its mean: in its unit
  std::optional<std::complex<double>> predicted{};
};

struct BodePoint {
  double frequency_hz = 0;
  double periods = 0;  ///< whole ones that were counted
  double heat = 0;     ///< amplitude of the heat
  std::vector<KeyPoint> keys{};
};

/// Whether and how a key's sensor limits what it can show.
struct BodeKey {
  std::string name;
  std::string unit;       ///< of the amplitude
  double highest_hz = 0;  ///< that its sensor is quick enough for; infinite: any
  SensorTruth sensor;
};

struct BodeResult {
  std::vector<BodeKey> keys;
  std::vector<BodePoint> points;  ///< by ascending frequency
  PowerWindow window;
  double mean_step_s = 0;  ///< from one sample to the next
  std::vector<std::string> warnings;
};

/// The points of a record. Requires: as analyse_bode() was given, ascending.
BodeResult bode_points(const BodeInput& input);

}  // namespace lab
