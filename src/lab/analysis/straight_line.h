#pragma once

#include <vector>

#include "lab/data/estimate.h"

namespace lab {

/// A value at a place, with its error.
struct LinePoint {
  double x = 0;
  double y = 0;
  double error = 0;  ///< standard error of y
};

struct StraightLine {
  bool known = false;
  Estimate at_zero;
  Estimate slope;
  double bend = 0;  ///< the largest distance of a point from the line, in y
};

/// The line through points by the weights of their errors, which are raised by what the points
/// leave the line for beyond them. Not known from fewer than two places. `unit` is that of y,
/// `slope_unit` that of y by that of x. Requires: errors above 0. Source: weighted least squares,
/// intervals by Student's t; the raise is Birge's ratio (1932).
StraightLine straight_line(const std::vector<LinePoint>& points, const char* unit,
                           const char* slope_unit);

}  // namespace lab
