#include "lab/analysis/stage_response.h"

#include <cmath>

namespace lab {

namespace {

// Over a span: what is left of a departure at its end, and in the mean of its samples; each with
// its derivative by ln tau.
struct Left {
  double end = 1;
  double end_slope = 0;
  double mean = 1;
  double mean_slope = 0;
};

Left left_after(double step_s, int count, double tau_s) {
  const double u = step_s / tau_s;
  const double one = std::exp(-u);
  if (count == 1) {
    return {.end = one, .end_slope = u * one, .mean = one, .mean_slope = u * one};
  }
  // mean = one (1 - one^n) / (n (1 - one)); expm1 keeps what is small.
  const double n = count;
  const double all = std::exp(-n * u);
  const double lost_all = -std::expm1(-n * u);
  const double lost_one = -std::expm1(-u);
  const double mean = one * lost_all / (n * lost_one);
  const double log_slope = -1 + n * all / lost_all - one / lost_one;  // d ln mean / du
  return {.end = all, .end_slope = n * u * all, .mean = mean, .mean_slope = -u * mean * log_slope};
}

}  // namespace

StageResponse stage_response(const HeatCurve& curve, double tau_s) {
  const auto rows = static_cast<Eigen::Index>(curve.rows());
  StageResponse response{Eigen::VectorXd(rows), Eigen::VectorXd(rows), Eigen::VectorXd(rows),
                         Eigen::VectorXd(rows)};
  double rise = 0;
  double rise_slope = 0;
  double decay = 1;
  double decay_slope = 0;
  double known_step_s = -1;
  int known_count = 0;
  Left left;
  Eigen::Index row = 0;
  for (const HeatSpan& span : curve.spans) {
    // Most spans are as long as the one before but for rounding, and the exponential is the dear
    // part.
    if (std::abs(span.step_s - known_step_s) > 1e-10 * known_step_s || span.count != known_count) {
      left = left_after(span.step_s, span.count, tau_s);
      known_step_s = span.step_s;
      known_count = span.count;
    }
    const double heat = span.heat - curve.before;
    const double departure = rise - heat;
    if (span.observed) {
      response.rise[row] = heat + departure * left.mean;
      response.rise_slope[row] = rise_slope * left.mean + departure * left.mean_slope;
      response.decay[row] = decay * left.mean;
      response.decay_slope[row] = decay_slope * left.mean + decay * left.mean_slope;
      ++row;
    }
    rise_slope = rise_slope * left.end + departure * left.end_slope;
    rise = heat + departure * left.end;
    decay_slope = decay_slope * left.end + decay * left.end_slope;
    decay *= left.end;
  }
  return response;
}

}  // namespace lab
