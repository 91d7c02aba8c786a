#pragma once

#include <Eigen/Core>

namespace lab {

/// Noise of a series: part of it is new in each value, the rest is forgotten little by little. Its
/// correlation at a distance of k > 0 values is shared * memory^k.
struct Noise {
  double sigma = 0;   ///< standard deviation
  double shared = 0;  ///< 0 to 1; above 1 if the values are means of neighbours
  double memory = 0;  ///< 0 to below 1
};

/// How much the values of a series repeat each other: a value stands for itself and this sum of
/// correlations with those behind it.
double correlation_sum(const Noise& noise);

/// How many independent values would be worth as much as `count` of these for a mean. With
/// shared = 1 it is n (1 - rho) / (1 + rho).
double effective_count(double count, const Noise& noise);

/// The noise of a series of residuals, whose mean is taken to be zero. The correlation at a
/// distance of one, and the sum of correlations up to the first that cannot be told from zero, give
/// `shared` and `memory`. Source: a first-order autoregressive process seen with white noise
/// (ARMA(1,1)); initial positive sequence, Geyer, Practical Markov Chain Monte Carlo (1992).
Noise noise_of(const Eigen::VectorXd& residuals);

/// `noise` from its first autocovariances: at a distance of 0, 1, 2, ... values.
Noise noise_from(const Eigen::VectorXd& autocovariance, double count);

/// Mean products of values that lie 0, 1, ... `most` apart.
Eigen::VectorXd autocovariance(const Eigen::VectorXd& residuals, Eigen::Index most);

/// Covariance of gain * noise: `gain` has a column for each value. One pass over the values.
Eigen::MatrixXd propagated(const Eigen::MatrixXd& gain, const Noise& noise);

}  // namespace lab
