#include "vorn/drift_correction.h"

#include <algorithm>
#include <cmath>

#include "vorn/numbers.h"

namespace {

constexpr double kPeriod = 10.0;  // seconds, about

std::uint32_t slots_in_a_period(double slot) {
  return std::max(to_uint32(std::rint(kPeriod / slot)), std::uint32_t{1});
}

}  // namespace

DriftCorrection::DriftCorrection(double slot, Clock clock)
    : clock_(clock),
      intervals_(2 * slots_in_a_period(slot)),
      span_(slots_in_a_period(slot) * slot),
      countdown_(intervals_),
      start_(clock()) {}

std::uint32_t DriftCorrection::corrected(std::uint32_t microseconds) const {
  return to_uint32(microseconds / scale_);
}

void DriftCorrection::interval_ended() {
  if (--countdown_ == 0) {
    const double t = clock_();
    scale_ = (t - start_) / span_;
    countdown_ = intervals_;
    start_ = t;
  }
}
