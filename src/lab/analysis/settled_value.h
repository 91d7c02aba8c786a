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
  bool settled = false;     ///< the end can be told
  bool foretold = false;    ///< more than a third of the way was to come: the end is the fit's word
  double misfit = 0;        ///< mean square of what the fit leaves
  double clearness = 0;     ///< the fitted change over the noise of a part's mean: 0 is none
  TimeConstants constants;  ///< of the last part of its way
};

/// Fits final + b exp(-t / tau) to the last two thirds of a record, in which the fast parts of a
/// response are over, and takes the final value. The interval holds every tau that the data allow
/// (a profile of the sum of squares), and takes the correlation of what the fit leaves as it is.
/// `constants`: those that another key of the same record showed, when this one is too noisy to
/// show its own.
///
/// If more than a third of the way in these two thirds is still to come, the value is foretold: no
/// way of a machine is one exponential quite, and a tenth of what is to come widens the interval.
/// If more than half is, or the data allow a time constant without an end, `settled` is false;
/// unless all that changed is `still` or less: then it is as good as settled, where it is, and up
/// to three times that change may be to come.
///
/// Source: separable least squares (Golub and Pereyra 1973) on a grid of the one nonlinear
/// parameter; profile intervals as in Bates and Watts, Nonlinear Regression Analysis (1988), 6.1.
/// Requires: as many values as instants, which ascend; NaN is left out. One pass.
SettledValue settled_value(std::span<const double> time_s, std::span<const double> values,
                           const std::string& unit,
                           const std::optional<TimeConstants>& constants = std::nullopt,
                           double still = 0);

}  // namespace lab
