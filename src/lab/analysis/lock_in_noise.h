#pragma once

#include <Eigen/Core>
#include <array>
#include <complex>
#include <vector>

#include "lab/analysis/lock_in_model.h"

namespace lab {

/// Parts of a stretch over which residuals are summed up.
inline constexpr int kLockInParts = 128;

/// Residuals of one series: shifted down by each tone's frequency, and summed up by parts.
struct ShiftedResiduals {
  std::vector<std::array<std::complex<double>, kLockInParts>> sums;  ///< by tone
  double squares = 0;
};

/// How much of a sinusoid the slow part of the model leaves in the residuals, as a part of its
/// power.
class SlowPart {
 public:
  explicit SlowPart(const LockInModel& model);
  double leaves(double frequency_hz) const;

 private:
  const LockInModel& model_;
  Eigen::MatrixXd basis_;
};

/// The variance of a single value, as noise at and beside a frequency shows it.
struct LocalNoise {
  double variance = 0;
  double freedom = 0;
};

/// What the residuals of a series with that many values show beside one of the tones.
LocalNoise local_noise(const LockInModel& model, const SlowPart& slow,
                       const std::vector<double>& frequencies_hz, std::size_t tone,
                       const ShiftedResiduals& shifted, double measured);

}  // namespace lab
