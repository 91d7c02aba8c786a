#include "lab/analysis/foster_start.h"

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/analysis/stage_response.h"

namespace lab {

namespace {

constexpr double kToADecade = 5;
constexpr double kApart = 2;

// How much of a temperature's squares the ones and the chosen pairs of columns explain.
double explained(const Eigen::MatrixXd& squares, const Eigen::VectorXd& right,
                 const std::vector<Eigen::Index>& pairs) {
  std::vector<Eigen::Index> columns{0};
  for (const Eigen::Index pair : pairs) {
    columns.push_back(1 + 2 * pair);
    columns.push_back(2 + 2 * pair);
  }
  Eigen::MatrixXd part = squares(columns, columns);
  part.diagonal() *= 1 + 1e-9;
  const Eigen::VectorXd wanted = right(columns);
  return part.ldlt().solve(wanted).dot(wanted);
}

}  // namespace

StartGrid::StartGrid(const HeatCurve& curve) {
  const double length_s = std::max(curve.time_s.back(), 1e-6);
  const double step_s =
      curve.widest_fast_s > 0 ? curve.widest_fast_s : length_s / static_cast<double>(curve.rows());
  const double least_s = 0.5 * step_s;
  const int count = static_cast<int>(std::ceil(kToADecade * std::log10(1.5 * length_s / least_s)));
  for (int at = 0; at < std::max(count, 1); ++at) {
    tau_s.push_back(least_s * std::pow(10.0, at / kToADecade));
  }
  basis.resize(static_cast<Eigen::Index>(curve.rows()),
               1 + 2 * static_cast<Eigen::Index>(tau_s.size()));
  basis.col(0).setOnes();
  for (std::size_t at = 0; at < tau_s.size(); ++at) {
    const StageResponse response = stage_response(curve, tau_s[at]);
    basis.col(1 + 2 * static_cast<Eigen::Index>(at)) = response.rise;
    basis.col(2 + 2 * static_cast<Eigen::Index>(at)) = response.decay;
  }
}

FosterStart::FosterStart(const HeatCurve& curve, const StartGrid& grid, const Observed& observed)
    : curve_(curve), grid_(grid), observed_(observed) {
  const Eigen::MatrixXd weighted = observed.weight.asDiagonal() * grid.basis;
  squares_.noalias() = weighted.transpose() * grid.basis;
  right_ = weighted.transpose() * observed.value;
}

std::vector<double> FosterStart::two() const {
  std::vector<double> best;
  double most = -std::numeric_limits<double>::infinity();
  for (std::size_t fast = 0; fast < grid_.tau_s.size(); ++fast) {
    for (std::size_t slow = fast + 1; slow < grid_.tau_s.size(); ++slow) {
      if (grid_.tau_s[slow] < kApart * grid_.tau_s[fast]) {
        continue;
      }
      const double how_much = explained(
          squares_, right_, {static_cast<Eigen::Index>(fast), static_cast<Eigen::Index>(slow)});
      if (how_much > most) {
        most = how_much;
        best = {grid_.tau_s[fast], grid_.tau_s[slow]};
      }
    }
  }
  return best;
}

std::vector<double> FosterStart::one_more(std::vector<double> tau_s) const {
  const auto there = static_cast<Eigen::Index>(tau_s.size());
  const Eigen::Index columns = squares_.cols();
  const auto grid = static_cast<Eigen::Index>(grid_.tau_s.size());
  Eigen::MatrixXd more(grid_.basis.rows(), 2 * there);
  std::vector<Eigen::Index> chosen;
  for (Eigen::Index at = 0; at < there; ++at) {
    const StageResponse response = stage_response(curve_, tau_s[static_cast<std::size_t>(at)]);
    more.col(2 * at) = response.rise;
    more.col(2 * at + 1) = response.decay;
    chosen.push_back(grid + at);
  }
  const Eigen::MatrixXd weighted = observed_.weight.asDiagonal() * more;
  Eigen::MatrixXd squares(columns + 2 * there, columns + 2 * there);
  squares.topLeftCorner(columns, columns) = squares_;
  squares.bottomLeftCorner(2 * there, columns) = weighted.transpose() * grid_.basis;
  squares.topRightCorner(columns, 2 * there) =
      squares.bottomLeftCorner(2 * there, columns).transpose();
  squares.bottomRightCorner(2 * there, 2 * there) = weighted.transpose() * more;
  Eigen::VectorXd right(columns + 2 * there);
  right << right_, weighted.transpose() * observed_.value;
  chosen.push_back(0);
  double added_s = 0;
  double most = -std::numeric_limits<double>::infinity();
  for (std::size_t at = 0; at < grid_.tau_s.size(); ++at) {
    const double one_s = grid_.tau_s[at];
    const bool apart = std::all_of(tau_s.begin(), tau_s.end(), [&](double there_s) {
      return std::abs(std::log(one_s / there_s)) >= std::log(kApart);
    });
    chosen.back() = static_cast<Eigen::Index>(at);
    const double how_much = apart ? explained(squares, right, chosen) : 0;
    if (apart && how_much > most) {
      most = how_much;
      added_s = one_s;
    }
  }
  if (added_s > 0) {
    tau_s.push_back(added_s);
  }
  return tau_s;
}

}  // namespace lab
