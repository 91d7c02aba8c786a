#pragma once

#include <vector>

#include "lab/analysis/heat_curve.h"
#include "lab/analysis/step_key.h"

namespace lab {

/// The thermal impedance that was fitted, at a time after a step of heat, in the unit of the
/// result. Sets `gradient`: by (start, resistances, offsets, ln tau), as the covariance is.
double fitted_impedance(const KeyResult& result, double time_s, Eigen::VectorXd& gradient);

/// The thermal impedance at a time after a step of heat, as it was measured.
struct ImpedancePoint {
  double time_s = 0;
  double impedance = 0;  ///< K/W
  double count = 0;      ///< of measurements that it is the mean of
};

/// The measured impedance in parts of a decade, 15 to each: the fitted one plus what the fit
/// leaves, for each watt of the change of heat, as a mean over all large changes. Ascending times.
std::vector<ImpedancePoint> measured_impedance(const KeyResult& result, const HeatCurve& curve);

}  // namespace lab
