#include "lab/analysis/structure_function.h"

namespace lab {

std::vector<StructurePoint> cumulative(const std::vector<Rung>& ladder) {
  std::vector<StructurePoint> points;
  StructurePoint sum;
  for (const Rung& rung : ladder) {
    sum.capacitance += rung.capacitance;
    points.push_back(sum);
    sum.resistance += rung.resistance;
  }
  return points;
}

std::vector<StructurePoint> differential(const std::vector<Rung>& ladder) {
  const std::vector<StructurePoint> sums = cumulative(ladder);
  std::vector<StructurePoint> points;
  if (sums.empty()) {
    return points;
  }
  constexpr double kApart = 0.01;
  const double apart = kApart * sums.back().resistance;
  StructurePoint from = sums.front();
  for (const StructurePoint& to : sums) {
    if (to.resistance - from.resistance >= apart && apart > 0) {
      points.push_back(
          {.resistance = (from.resistance + to.resistance) / 2,
           .capacitance = (to.capacitance - from.capacitance) / (to.resistance - from.resistance)});
      from = to;
    }
  }
  return points;
}

}  // namespace lab
