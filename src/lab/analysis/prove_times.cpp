#include "lab/analysis/prove_times.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/spoken_number.h"

namespace lab {

std::string microseconds(double time_us, double at_least_us) {
  return std::isfinite(time_us) ? spoken_number(time_us, 2) + " us"
                                : "more than " + spoken_number(at_least_us, 2) + " us";
}

double half_period_us(const Proof& proof) {
  constexpr double kMicrosecond_s = 1e-6;
  return 0.5 / proof.carrier_hz / kMicrosecond_s;
}

double edges_us(const WaveformTruth& square) {
  return std::max(square.on.at(0.99), square.off.at(0.99));
}

}  // namespace lab
