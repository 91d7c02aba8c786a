#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "lab/analysis/foster_fit.h"
#include "lab/analysis/foster_start.h"
#include "lab/analysis/heat_curve.h"
#include "lab/analysis/sensor_truth.h"
#include "lab/analysis/step.h"
#include "lab/data/estimate.h"

namespace lab {

/// A stage as it is told.
struct Stage {
  Estimate resistance;
  Estimate time_constant;
};

/// What was found of one temperature.
struct KeyResult {
  std::string name;
  bool decided = true;
  SensorTruth sensor;
  Estimate resistance;
  Estimate start;
  std::vector<Stage> stages;
  double residual_rms = 0;
  double moved = 0;  ///< K: from the lowest to the highest of the fitted temperature
  std::vector<std::string> warnings;
  Observed observed;
  FosterFit fit;  ///< no stages: nothing was fitted
  Eigen::MatrixXd covariance;
  double factor = 0;  ///< from a standard error to half a 95 % interval
};

/// The fewest measurements that a fit is tried on.
inline constexpr std::size_t kFewestToFit = 20;

/// Fits one temperature by least squares, with as many stages as it shows by itself. Requires: the
/// input's instants ascend, and the curve and the grid were made of it.
KeyResult fit_key(const StepInput& input, const Column& temperature, const HeatCurve& curve,
                  const StartGrid& grid, const std::string& unit);

/// How quickly a temperature rises at first, K/s for each watt, as its stages have it.
double first_rise(const KeyResult& result);

/// The place where heat goes in rises at once, and others late: less than a tenth as quickly at
/// first as another of the results. False for one without stages.
bool rises_late(const KeyResult& result, const std::vector<KeyResult>& all);

/// Who is lent time constants: where the ladder is asked for, a heated place has to show its own.
enum class Lend { to_all, to_late_ones };

/// The temperatures of a thermal network have the same time constants, each in its own measure. A
/// temperature that shows a fast one too little to tell it (a heat sink begins to rise a little
/// later than the die) would have its slow ones wrong without it. So where another temperature
/// knows one that this one lacks, this one is fitted again with it. Source: natural frequencies are
/// those of the network, not of the place, for example Desoer and Kuh, Basic Circuit Theory (1969).
void lend_time_constants(const HeatCurve& curve, const std::string& unit, Lend lend,
                         std::vector<KeyResult>& results);

/// For a coarse sensor, a better fit and better intervals than least squares gives.
void refine_key(const StepInput& input, const HeatCurve& curve, const std::string& unit,
                KeyResult& result);

/// Gives time constants that were lent the intervals that they have where they were found.
void name_lent_time_constants(std::vector<KeyResult>& results);

}  // namespace lab
