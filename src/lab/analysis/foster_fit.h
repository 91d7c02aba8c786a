#pragma once

#include <Eigen/Core>
#include <vector>

#include "lab/analysis/heat_curve.h"

namespace lab {

/// What a fit looks at: a temperature, row by row.
struct Observed {
  Eigen::VectorXd value;
  Eigen::VectorXd weight;  ///< of each row; 0: no measurement. Noise has a variance of 1 / weight
};

/// A temperature as a sum of stages (Foster form): T = start + sum of R_i x_i(t), where x_i is the
/// response of a stage to the measured heat. If the start was not settled, each stage also has an
/// offset that decays with its time constant.
struct FosterFit {
  double start = 0;
  std::vector<double> tau_s;       ///< ascending
  std::vector<bool> given;         ///< for each: not searched for; its column of slopes is zero
  std::vector<double> resistance;  ///< one for each; a transfer may have negative ones
  std::vector<double> offset;      ///< one for each, or none: the start was settled
  double squares = 0;              ///< weighted sum of squared residuals
  Eigen::VectorXd fitted;
  /// d fitted / d (start, resistances, offsets, ln tau).
  Eigen::MatrixXd slopes;
};

/// Whether a fit allows for a start that was not settled.
enum class Start { settled, unsettled };

/// The temperature and its slopes for time constants and linear parameters as they stand: sets
/// `fitted`, `slopes` and `squares`.
void evaluate(const HeatCurve& curve, const Observed& observed, FosterFit& fit);

/// Fits stages to a temperature, beginning at these time constants; those in `given_s` stay as they
/// are.
/// Source: variable projection (Golub and Pereyra, 1973, in Kaufman's form): start, resistances
/// and offsets are linear and solved for exactly at each step of a damped Gauss-Newton search
/// (Marquardt, 1963) over the logarithms of the time constants.
FosterFit foster_fit(const HeatCurve& curve, const Observed& observed, std::vector<double> tau_s,
                     Start start, std::vector<double> given_s = {});

}  // namespace lab
