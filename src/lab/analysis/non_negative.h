#pragma once

#include <Eigen/Core>

namespace lab {

/// The x >= 0 for which x' squares x - 2 right' x is least: least squares with `squares` = A'A and
/// `right` = A'b. Requires: `squares` is positive definite.
/// Source: the active-set method of Lawson and Hanson, Solving Least Squares Problems (1974),
/// chapter 23, on the normal equations (Bro and de Jong, 1997).
Eigen::VectorXd non_negative(const Eigen::MatrixXd& squares, const Eigen::VectorXd& right);

}  // namespace lab
