#include "lab/plan/plan.h"

#include <limits>

namespace lab {

double longest_s(const Plan& plan) {
  if (plan.phases.empty()) {
    return std::numeric_limits<double>::infinity();
  }
  double sum = 0;
  for (const Phase& phase : plan.phases) {
    sum += phase.duration_s;
  }
  return sum;
}

}  // namespace lab
