#pragma once

#include <Eigen/Core>

#include "lab/analysis/foster_fit.h"
#include "lab/analysis/noise.h"

namespace lab {

/// How far the parameters of a fit may be off.
struct Uncertainty {
  Eigen::MatrixXd covariance;  ///< of (start, resistances, offsets, ln tau)
  Noise noise;                 ///< of the residuals, each times the root of its row's weight
  double freedom = 0;          ///< independent residuals less parameters
};

/// The rows that count, each times the root of its weight.
Eigen::MatrixXd weighted_rows(const Eigen::MatrixXd& matrix, const Observed& observed);

/// What a fit's residuals say of its parameters, taking the correlation of the residuals as it is:
/// with J = QR the estimates are off by R^-1 Q' noise. A fit takes part of the noise for signal, of
/// correlated noise more than of white one; the variance is corrected for that.
/// Source: the covariance of ordinary least squares with correlated errors, for example Seber and
/// Wild, Nonlinear Regression (1989), chapter 6.
Uncertainty uncertainty(const FosterFit& fit, const Observed& observed);

}  // namespace lab
