#include "lab/analysis/noise.h"

#include <algorithm>
#include <cmath>

namespace lab {

namespace {

// Correlations beyond this many values are drift, which a fit sees as signal anyway.
constexpr Eigen::Index kMostDistance = 400;

}  // namespace

double correlation_sum(const Noise& noise) {
  return noise.shared * noise.memory / (1 - noise.memory);
}

double effective_count(double count, const Noise& noise) {
  return std::max(1.0, count / (1 + 2 * correlation_sum(noise)));
}

Eigen::VectorXd autocovariance(const Eigen::VectorXd& residuals, Eigen::Index most) {
  const Eigen::Index count = residuals.size();
  Eigen::VectorXd result = Eigen::VectorXd::Zero(most + 1);
  for (Eigen::Index distance = 0; distance <= std::min(most, count - 1); ++distance) {
    result[distance] = residuals.head(count - distance).dot(residuals.tail(count - distance)) /
                       static_cast<double>(count);
  }
  return result;
}

Noise noise_from(const Eigen::VectorXd& autocovariance, double count) {
  Noise noise{.sigma = std::sqrt(std::max(autocovariance[0], 0.0))};
  if (!(autocovariance[0] > 0) || autocovariance.size() < 2) {
    return noise;
  }
  const Eigen::VectorXd correlation = autocovariance / autocovariance[0];
  const double chance = 1 / std::sqrt(count);
  if (correlation[1] < 2 * chance) {
    return noise;
  }
  double sum = 0;
  for (Eigen::Index distance = 1; distance < correlation.size() && correlation[distance] > chance;
       ++distance) {
    sum += correlation[distance];
  }
  noise.memory = std::clamp(1 - correlation[1] / sum, 0.05, 0.998);
  noise.shared = correlation[1] / noise.memory;
  return noise;
}

Noise noise_of(const Eigen::VectorXd& residuals) {
  const auto count = static_cast<double>(residuals.size());
  const Eigen::Index longest = std::min(kMostDistance, residuals.size() / 4);
  // Most series have forgotten themselves soon.
  for (Eigen::Index most = std::min<Eigen::Index>(10, longest);;
       most = std::min(6 * most, longest)) {
    const Eigen::VectorXd products = autocovariance(residuals, most);
    const bool forgotten = products.minCoeff() <= products[0] / std::sqrt(count);
    if (forgotten || most >= longest) {
      return noise_from(products, count);
    }
  }
}

Eigen::MatrixXd propagated(const Eigen::MatrixXd& gain, const Noise& noise) {
  const Eigen::Index size = gain.rows();
  Eigen::MatrixXd result = gain * gain.transpose();
  if (noise.shared > 0) {
    Eigen::VectorXd before = Eigen::VectorXd::Zero(size);  // sum of memory^k times earlier columns
    Eigen::MatrixXd crossed = Eigen::MatrixXd::Zero(size, size);
    for (Eigen::Index at = 1; at < gain.cols(); ++at) {
      before = noise.memory * (before + gain.col(at - 1));
      crossed.noalias() += gain.col(at) * before.transpose();
    }
    result += noise.shared * (crossed + crossed.transpose());
  }
  return noise.sigma * noise.sigma * result;
}

}  // namespace lab
