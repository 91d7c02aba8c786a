#include "lab/analysis/lock_in_noise.h"

#include <Eigen/QR>
#include <algorithm>
#include <cmath>
#include <numbers>

// The residuals beside a tone are needed at a dozen frequencies for each tone. They were shifted
// down by the tone's frequency and summed up in parts of the stretch; the neighbours are then sums
// over parts instead of rows. The loss over a part is below 1 % for the farthest.

namespace lab {

namespace {

using Eigen::Index;

constexpr int kNeighbours = 6;  // on each side; the nearest weigh most
constexpr Index kRows = 400;

double instant(const LockInModel& model, Index row) {
  return model.length_s() * (static_cast<double>(row) + 0.5) / static_cast<double>(kRows);
}

}  // namespace

SlowPart::SlowPart(const LockInModel& model) : model_(model) {
  Eigen::MatrixXd slow(kRows, LockInModel::kSlow);
  for (Index at = 0; at < kRows; ++at) {
    model.slow(instant(model, at), slow.row(at));
  }
  basis_ = Eigen::HouseholderQR<Eigen::MatrixXd>(slow).householderQ() *
           Eigen::MatrixXd::Identity(kRows, LockInModel::kSlow);
}

double SlowPart::leaves(double frequency_hz) const {
  constexpr double kSlowPeriods = kRows / 8.0;  // beyond, nothing is slow
  if (frequency_hz * model_.length_s() > kSlowPeriods) {
    return 1;
  }
  Eigen::MatrixXd wave(kRows, 2);
  for (Index at = 0; at < kRows; ++at) {
    const double angle = 2 * std::numbers::pi * frequency_hz * instant(model_, at);
    wave(at, 0) = std::cos(angle);
    wave(at, 1) = std::sin(angle);
  }
  return 1 - (basis_.transpose() * wave).squaredNorm() / wave.squaredNorm();
}

LocalNoise local_noise(const LockInModel& model, const SlowPart& slow,
                       const std::vector<double>& frequencies_hz, std::size_t tone,
                       const ShiftedResiduals& shifted, double measured) {
  double power = 0;
  double left = 0;
  double squares = 0;
  for (int step = -kNeighbours; step <= kNeighbours; ++step) {
    const double beside_hz = frequencies_hz[tone] + step / model.length_s();
    const bool a_tone =
        std::any_of(frequencies_hz.begin(), frequencies_hz.end(), [&](double frequency_hz) {
          return std::abs(frequency_hz - beside_hz) * model.length_s() < 0.75;
        });
    if (a_tone || beside_hz * model.length_s() < 0.75) {
      continue;
    }
    std::complex<double> sum = 0;
    for (int part = 0; part < kLockInParts; ++part) {
      sum += shifted.sums[tone][static_cast<std::size_t>(part)] *
             std::polar(1.0, -2 * std::numbers::pi * step * (part + 0.5) / kLockInParts);
    }
    const double weight = 1 - (std::abs(step) - 1.0) / kNeighbours;
    const double share = slow.leaves(beside_hz);
    power += weight * std::norm(sum);
    left += weight * share;
    squares += weight * weight * share;
  }
  // White noise of variance v has E |sum|^2 = n v. Two degrees of freedom each, fewer as weights
  // differ.
  return {.variance = left > 0 ? power / (left * measured) : 0,
          .freedom = squares > 0 ? 2 * left * left / squares : 0};
}

}  // namespace lab
