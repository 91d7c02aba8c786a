#include "lab/analysis/time_constant_spectrum.h"

#include <cmath>

#include "lab/analysis/non_negative.h"

namespace lab {

namespace {

constexpr std::size_t kFewest = 5;
constexpr double kBeyond = 3;
constexpr double kMostWeight = 1e2;  // the first one: such a spectrum hardly bends
constexpr int kWeights = 32;         // each a third of the one before: down to 1e-13

// Squares of second differences: nothing lies beyond the ends.
Eigen::MatrixXd roughness(Eigen::Index count) {
  Eigen::MatrixXd differences = Eigen::MatrixXd::Zero(count, count);
  for (Eigen::Index at = 0; at < count; ++at) {
    differences(at, at) = -2;
    if (at > 0) {
      differences(at, at - 1) = 1;
    }
    if (at + 1 < count) {
      differences(at, at + 1) = 1;
    }
  }
  return differences.transpose() * differences;
}

}  // namespace

std::vector<FosterStage> time_constant_spectrum(const std::vector<ImpedancePoint>& points,
                                                double squares) {
  if (points.size() < kFewest) {
    return {};
  }
  std::vector<FosterStage> grid;
  const double first_s = points.front().time_s / kBeyond;
  const double decades = std::log10(kBeyond * points.back().time_s / first_s);
  for (int at = 0; at <= std::ceil(decades * kSpectrumToADecade); ++at) {
    grid.push_back(
        {.resistance = 0,
         .tau_s = first_s * std::pow(10.0, static_cast<double>(at) / kSpectrumToADecade)});
  }
  const auto rows = static_cast<Eigen::Index>(points.size());
  const auto count = static_cast<Eigen::Index>(grid.size());
  Eigen::MatrixXd rises(rows, count);
  Eigen::VectorXd measured(rows);
  for (Eigen::Index row = 0; row < rows; ++row) {
    const ImpedancePoint& point = points[static_cast<std::size_t>(row)];
    const double root = std::sqrt(point.count);
    measured[row] = root * point.impedance;
    for (Eigen::Index at = 0; at < count; ++at) {
      rises(row, at) = -root * std::expm1(-point.time_s / grid[static_cast<std::size_t>(at)].tau_s);
    }
  }
  const Eigen::MatrixXd product = rises.transpose() * rises;
  const Eigen::VectorXd right = rises.transpose() * measured;
  const Eigen::MatrixXd rough = roughness(count);
  const double scale = product.trace() / rough.trace();
  double weight = kMostWeight;
  for (int tried = 0; tried < kWeights; ++tried, weight /= 3) {
    const Eigen::VectorXd found = non_negative(product + weight * scale * rough, right);
    if ((measured - rises * found).squaredNorm() <= squares) {
      for (Eigen::Index at = 0; at < count; ++at) {
        grid[static_cast<std::size_t>(at)].resistance = found[at];
      }
      return grid;
    }
  }
  return {};
}

}  // namespace lab
