#pragma once

#include <Eigen/Core>

#include "lab/analysis/heat_curve.h"

namespace lab {

/// What a stage of one K/W and the time constant tau adds to a temperature, row by row, and how
/// that changes with the logarithm of tau.
struct StageResponse {
  Eigen::VectorXd rise;         ///< from a start settled at the heat before the record
  Eigen::VectorXd rise_slope;   ///< d rise / d ln tau
  Eigen::VectorXd decay;        ///< exp(-t/tau): what is left of a start that was not settled
  Eigen::VectorXd decay_slope;  ///< d decay / d ln tau
};

/// The response of a stage to the heat, exact for heat that is constant within each span:
///   x <- x exp(-d/tau) + P (1 - exp(-d/tau)),
/// and for a row of several samples the mean of them, which is a geometric sum.
/// One pass over the spans. Requires: tau_s > 0.
StageResponse stage_response(const HeatCurve& curve, double tau_s);

}  // namespace lab
