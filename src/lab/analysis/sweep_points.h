#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "lab/analysis/settled_value.h"
#include "lab/data/estimate.h"
#include "lab/data/table.h"

namespace lab {

/// Half of a 95 % interval over the standard error, about.
inline constexpr double kIntervalFactor = 2;

/// What a sweep goes over.
enum class SweptSetting { fans, duty, pstate, load };

/// The word of it on the command line and in result.json: "rpm", "duty", "pstate" or "load".
const char* text(SweptSetting over);

/// One setting at which a sweep stays until all has settled.
struct SweptPoint {
  std::string name;              ///< "2000", "maximum", "0.5", "3", "bfma"
  std::optional<double> number;  ///< if the name is one
  bool idle = false;             ///< no load, to compare with: not one of the points asked for
};

/// One stay at a point: rows of the samples.
struct SweepVisit {
  std::size_t point = 0;
  std::size_t first_row = 0;
  std::size_t end_row = 0;  ///< behind the last
};

/// What all loads together had done at an instant, counted since the run began.
struct WorkCount {
  double time_s = 0;
  double operations = 0;
};

/// A sweep as it was measured.
struct SweepInput {
  SweptSetting over = SweptSetting::duty;
  std::vector<SweptPoint> points;  ///< in the order of their settings
  std::vector<SweepVisit> visits;  ///< in the order of time
  Table samples;
  std::string power;            ///< the column of the heat; empty: none
  std::vector<WorkCount> work;  ///< empty: the loads do not count
  std::optional<double> error;  ///< part of a value that the error of a point was to be at most
};

/// A key at a point.
struct KeyAtPoint {
  Estimate value;  ///< what it comes to there
  bool settled = false;
  double foretold = 0;  ///< how far it still had to go where the value is a fit's word; or 0
};

/// What was measured at a point in all visits.
struct PointResult {
  std::vector<KeyAtPoint> keys;  ///< as swept_keys() names them
  std::size_t visits = 0;
  double delivered = 0;  ///< load, 0 to 1: mean; NaN: not known
  std::optional<Estimate> operations_per_joule;
};

/// The columns of the samples that are keys, with a unit.
std::vector<const Column*> swept_keys(const Table& samples);

/// Each point, as long as input.points. A visit gives the settled value of each key; of keys that
/// are too noisy to show a time constant or an end, with that of the clearest temperature: the last
/// part of the way has one time constant for all that one heat sink cools. Visits of one
/// point are put together by the weights of their errors, which grow by the factor by which the
/// visits differ more than their errors say. Source: Birge 1932.
std::vector<PointResult> measured_points(const SweepInput& input);

/// The estimate of one and the same value from several. Requires: one at least.
Estimate together(const std::vector<Estimate>& estimates);

}  // namespace lab
