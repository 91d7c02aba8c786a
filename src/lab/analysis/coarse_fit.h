#pragma once

#include "lab/analysis/foster_fit.h"
#include "lab/analysis/uncertainty.h"

namespace lab {

/// A fit to a coarse sensor, and how far it may be off.
struct CoarseFit {
  FosterFit fit;
  Uncertainty uncertainty;
};

/// Improves a fit to a sensor whose step is not small beside its noise. Such a value says between
/// which bounds the temperature lies, and nothing of where between them: the likelihood is that of
/// intervals, with normal noise before the rounding whose size is estimated as well. The intervals
/// of the parameters come from simulating the sensor on the fitted temperature, since the residuals
/// themselves are neither normal nor of one size.
/// Requires: rows of one sample each (rounded values are no means), weights 0 or 1, step > 0.
/// Deterministic. Source: Newton's method on a log-concave likelihood; covariance of an estimating
/// equation by parametric bootstrap, linearised (Efron and Tibshirani, 1993).
CoarseFit coarse_fit(const HeatCurve& curve, const Observed& observed, FosterFit fit, double step);

}  // namespace lab
