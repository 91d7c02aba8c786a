#include "lab/analysis/rounding_bias.h"

#include <cmath>
#include <numbers>

namespace lab {

double rounding_bias(double amplitude, double step, double noise) {
  using std::numbers::pi;
  constexpr int kHarmonics = 40;
  if (!(step > 0)) {
    return 0;
  }
  double sum = 0;
  for (int n = 1; n <= kHarmonics; ++n) {
    const double smeared = std::exp(-2 * std::pow(pi * n * noise / step, 2));
    if (smeared < 1e-6) {
      return 2 * step / pi * sum;
    }
    sum += std::abs(std::cyl_bessel_j(1.0, 2 * pi * n * amplitude / step)) * smeared / n;
  }
  // The rest fall as n^-1.5: |J1(x)| is at most about sqrt(2 / (pi x)).
  sum += 2 / std::sqrt(kHarmonics) * std::sqrt(step / (pi * pi * amplitude));
  return 2 * step / pi * sum;
}

}  // namespace lab
