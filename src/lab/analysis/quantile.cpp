#include "lab/analysis/quantile.h"

#include <algorithm>

namespace lab {

double two_sided_95(double freedom) {
  constexpr double kNormal = 1.959963984540054;
  const double n = std::max(freedom, 3.0);
  const double z2 = kNormal * kNormal;
  const double first = (z2 + 1) / 4;
  const double second = ((5 * z2 + 16) * z2 + 3) / 96;
  const double third = (((3 * z2 + 19) * z2 + 17) * z2 - 15) / 384;
  return kNormal * (1 + (first + (second + third / n) / n) / n);
}

}  // namespace lab
