#pragma once

#include <optional>
#include <span>
#include <string>

#include "lab/data/estimate.h"

namespace lab {

/// Time constants that a record allows, in seconds.
struct TimeConstants {
  double least_s = 0;
  double best_s = 0;
  double most_s = 0;
};

/// What a value comes to if all stays as it is.
struct SettledValue {
  Estimate value;           ///< once it has settled; an open interval if no end is seen
  double to_come = 0;       ///< how far it still goes from the end of the record on; signed
  bool settled = false;     ///< the end is seen: what is still to come is the smaller part
  double clearness = 0;     ///< the fitted change over the noise of a part's mean: 0 is none
  TimeConstants constants;  ///< of the last part of its way
};

/// Fits final + b exp(-t / tau) to the last two thirds of a record, in which the fast parts of a
/// response are over, and takes the final value. The interval holds every tau that the data allow
/// (a profile of the sum of squares), and takes the correlation of what the fit leaves as it is.
/// `constants`: those that another key of the same record showed, when this one is too noisy to
/// show its own. Nothing is measured that is not there: if more than a third of the way in these
/// two thirds is still to come, `settled` is false.
///
/// Source: separable least squares (Golub and Pereyra 1973) on a grid of the one nonlinear
/// parameter; profile intervals as in Bates and Watts, Nonlinear Regression Analysis (1988), 6.1.
/// Requires: as many values as instants, which ascend; NaN is left out. One pass.
SettledValue settled_value(std::span<const double> time_s, std::span<const double> values,
                           const std::string& unit,
                           const std::optional<TimeConstants>& constants = std::nullopt);

}  // namespace lab
