#include "lab/analysis/uncertainty.h"

#include <Eigen/QR>
#include <algorithm>
#include <limits>
#include <vector>

namespace lab {

Eigen::MatrixXd weighted_rows(const Eigen::MatrixXd& matrix, const Observed& observed) {
  std::vector<Eigen::Index> rows;
  for (Eigen::Index row = 0; row < observed.weight.size(); ++row) {
    if (observed.weight[row] > 0) {
      rows.push_back(row);
    }
  }
  return observed.weight(rows).cwiseSqrt().asDiagonal() * matrix(rows, Eigen::all);
}

Uncertainty uncertainty(const FosterFit& fit, const Observed& observed) {
  Eigen::MatrixXd slopes = weighted_rows(fit.slopes, observed);
  const Eigen::VectorXd residuals = weighted_rows(observed.value - fit.fitted, observed);
  const Eigen::Index parameters = slopes.cols();
  const auto count = static_cast<double>(slopes.rows());
  Uncertainty result{.covariance = Eigen::MatrixXd::Constant(
                         parameters, parameters, std::numeric_limits<double>::infinity()),
                     .noise = noise_of(residuals)};
  if (slopes.rows() <= parameters) {
    return result;
  }
  const Eigen::VectorXd scale = slopes.colwise().norm().cwiseMax(1e-150);
  slopes = slopes * scale.cwiseInverse().asDiagonal();
  const Eigen::HouseholderQR<Eigen::MatrixXd> qr(slopes);
  const Eigen::MatrixXd q =
      qr.householderQ() * Eigen::MatrixXd::Identity(slopes.rows(), parameters);
  Noise unit = result.noise;
  unit.sigma = 1;
  const Eigen::MatrixXd seen = propagated(q.transpose(), unit);
  const double left = std::max(count - seen.trace(), 0.1 * count);
  result.noise.sigma = residuals.norm() / std::sqrt(left);
  result.freedom = effective_count(count, result.noise) - static_cast<double>(parameters);
  Eigen::MatrixXd upper = qr.matrixQR().topRows(parameters).triangularView<Eigen::Upper>();
  for (Eigen::Index at = 0; at < parameters; ++at) {
    if (std::abs(upper(at, at)) < 1e-9) {
      // Nothing is known of it, and its variance comes out enormous; or it was given.
      upper(at, at) = 1e-9;
    }
  }
  const Eigen::MatrixXd inverse =
      upper.triangularView<Eigen::Upper>().solve(Eigen::MatrixXd::Identity(parameters, parameters));
  const Eigen::MatrixXd gain = scale.cwiseInverse().asDiagonal() * inverse;
  result.covariance = result.noise.sigma * result.noise.sigma * gain * seen * gain.transpose();
  return result;
}

}  // namespace lab
