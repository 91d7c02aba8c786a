#include "lab/analysis/exponential_fit.h"

#include <algorithm>
#include <cmath>

namespace lab {

namespace {

constexpr double kStep = 1.05;
constexpr double kFineStep = 1.002;

// Adds the fits of time constants from `least_s` up to `end_s`, and without it, each `step` times
// the one before.
void add_fits(const std::vector<FitPoint>& points, double least_s, double end_s, double step,
              std::vector<ExponentialFit>& fits) {
  const auto count = static_cast<int>(std::ceil(std::log(end_s / least_s) / std::log(step)));
  for (int at = 0; at < count; ++at) {
    fits.push_back(fit_exponential(points, least_s * std::pow(step, at)));
  }
}

}  // namespace

ExponentialFit fit_exponential(const std::vector<FitPoint>& points, double tau_s) {
  const auto count = static_cast<double>(points.size());
  const double first = points.front().value;  // near the values: no digits are lost
  double x = 0;
  double y = 0;
  for (const FitPoint& point : points) {
    x += tau_s > 0 ? std::exp(-point.since_s / tau_s) : 0;
    y += point.value - first;
  }
  x /= count;
  y /= count;
  double xx = 0;
  double xy = 0;
  double yy = 0;
  for (const FitPoint& point : points) {
    const double dx = (tau_s > 0 ? std::exp(-point.since_s / tau_s) : 0) - x;
    const double dy = point.value - first - y;
    xx += dx * dx;
    xy += dx * dy;
    yy += dy * dy;
  }
  const double height = xx > 0 ? xy / xx : 0;
  return {.tau_s = tau_s,
          .squares = std::max(0.0, yy - height * xy),
          .last = first + y - height * x,
          .height = height,
          .gain = 1 / count + (xx > 0 ? x * x / xx : 0),
          .height_gain = xx > 0 ? 1 / xx : 0};
}

double inflation(const std::vector<FitPoint>& points, const ExponentialFit& best) {
  double squares = 0;
  double neighbours = 0;
  double before = 0;
  for (const FitPoint& point : points) {
    const double decay = best.tau_s > 0 ? std::exp(-point.since_s / best.tau_s) : 0;
    const double left = point.value - best.last - best.height * decay;
    squares += left * left;
    neighbours += left * before;
    before = left;
  }
  const double rho = squares > 0 ? std::clamp(neighbours / squares, 0.0, 0.8) : 0;
  return (1 + rho) / (1 - rho);
}

const ExponentialFit& best_of(const std::vector<ExponentialFit>& fits) {
  return *std::min_element(fits.begin(), fits.end(),
                           [](const ExponentialFit& one, const ExponentialFit& two) {
                             return one.squares < two.squares;
                           });
}

std::vector<ExponentialFit> fit_exponentials(const std::vector<FitPoint>& points, double least_s,
                                             double most_s) {
  std::vector<ExponentialFit> fits;
  add_fits(points, least_s, most_s * kStep, kStep, fits);
  const double near_s = best_of(fits).tau_s;
  add_fits(points, near_s / kStep, near_s * kStep, kFineStep, fits);
  return fits;
}

}  // namespace lab
