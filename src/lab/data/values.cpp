#include "lab/data/values.h"

#include <cmath>
#include <iterator>

namespace lab {

std::vector<double> finite_values(const std::vector<double>& values) {
  std::vector<double> finite;
  std::copy_if(values.begin(), values.end(), std::back_inserter(finite),
               [](double value) { return std::isfinite(value); });
  return finite;
}

}  // namespace lab
