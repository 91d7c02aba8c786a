#include "lab/analysis/straight_line.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/quantile.h"

namespace lab {

StraightLine straight_line(const std::vector<LinePoint>& points, const char* unit,
                           const char* slope_unit) {
  StraightLine line;
  double weights = 0;
  double x = 0;
  double y = 0;
  for (const LinePoint& point : points) {
    const double weight = 1 / (point.error * point.error);
    weights += weight;
    x += weight * point.x;
    y += weight * point.y;
  }
  x /= weights;
  y /= weights;
  double xx = 0;
  double xy = 0;
  for (const LinePoint& point : points) {
    const double weight = 1 / (point.error * point.error);
    xx += weight * (point.x - x) * (point.x - x);
    xy += weight * (point.x - x) * (point.y - y);
  }
  if (points.size() < 2 || !(xx > 0)) {
    return line;
  }
  const double slope = xy / xx;
  const double at_zero = y - slope * x;
  double squares = 0;
  for (const LinePoint& point : points) {
    const double left = point.y - at_zero - slope * point.x;
    squares += left * left / (point.error * point.error);
    line.bend = std::max(line.bend, std::abs(left));
  }
  const double freedom = static_cast<double>(points.size()) - 2;
  const double raise = freedom > 0 ? std::max(1.0, squares / freedom) : 1;
  const double factor = two_sided_95(std::max(1.0, freedom)) * std::sqrt(raise);
  const double half_slope = factor / std::sqrt(xx);
  const double half_zero = factor * std::sqrt(1 / weights + x * x / xx);
  line.known = true;
  line.slope = {slope, slope - half_slope, slope + half_slope, slope_unit};
  line.at_zero = {at_zero, at_zero - half_zero, at_zero + half_zero, unit};
  return line;
}

}  // namespace lab
