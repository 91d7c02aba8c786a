#pragma once

#include <vector>

#include "lab/analysis/foster_fit.h"

namespace lab {

/// A logarithmic grid of time constants over what a record can show, with the responses to its
/// heat. Computing these is the dear part, and they are the same for all temperatures of a record.
struct StartGrid {
  std::vector<double> tau_s;
  Eigen::MatrixXd basis;  ///< ones, then rise and decay of each

  explicit StartGrid(const HeatCurve& curve);
};

/// Where to begin the search for the time constants of one temperature: the grid, tried point by
/// point and pair by pair. Keeps references to what it is made from.
class FosterStart {
 public:
  FosterStart(const HeatCurve& curve, const StartGrid& grid, const Observed& observed);

  /// The two, at least a factor of two apart, that together come nearest.
  std::vector<double> two() const;

  /// `tau_s` and the one of the grid, at least a factor of two from each, that helps most. Only
  /// `tau_s` if there is no such one. With none in `tau_s`: the one that alone comes nearest.
  std::vector<double> one_more(std::vector<double> tau_s) const;

 private:
  const HeatCurve& curve_;
  const StartGrid& grid_;
  const Observed& observed_;
  // Sums of products of the grid's columns, and with the temperature.
  Eigen::MatrixXd squares_;
  Eigen::VectorXd right_;
};

}  // namespace lab
