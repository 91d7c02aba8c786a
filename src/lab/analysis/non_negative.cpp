#include "lab/analysis/non_negative.h"

#include <Eigen/Cholesky>
#include <algorithm>
#include <vector>

namespace lab {

namespace {

Eigen::VectorXd solved(const Eigen::MatrixXd& squares, const Eigen::VectorXd& right,
                       const std::vector<Eigen::Index>& freed) {
  const Eigen::MatrixXd part = squares(freed, freed);
  const Eigen::VectorXd wanted = right(freed);
  return part.llt().solve(wanted);
}

// Goes from x towards the solution of the freed variables as far as all stay above zero, holds what
// has come to zero, and goes on from there.
void settle(const Eigen::MatrixXd& squares, const Eigen::VectorXd& right,
            std::vector<Eigen::Index>& freed, Eigen::VectorXd& x) {
  while (!freed.empty()) {
    const Eigen::VectorXd wanted = solved(squares, right, freed);
    double part = 1;
    for (std::size_t at = 0; at < freed.size(); ++at) {
      const double to = wanted[static_cast<Eigen::Index>(at)];
      if (to <= 0) {
        part = std::min(part, x[freed[at]] / (x[freed[at]] - to));
      }
    }
    std::vector<Eigen::Index> left;
    for (std::size_t at = 0; at < freed.size(); ++at) {
      const double to = wanted[static_cast<Eigen::Index>(at)];
      double& here = x[freed[at]];
      const bool held = to <= 0 && here / (here - to) <= part;
      here = held ? 0 : here + part * (to - here);
      if (!held) {
        left.push_back(freed[at]);
      }
    }
    const bool all = left.size() == freed.size();
    freed = std::move(left);
    if (all) {
      return;
    }
  }
}

}  // namespace

Eigen::VectorXd non_negative(const Eigen::MatrixXd& squares, const Eigen::VectorXd& right) {
  const Eigen::Index count = right.size();
  const double least = 1e-12 * right.cwiseAbs().maxCoeff();
  Eigen::VectorXd x = Eigen::VectorXd::Zero(count);
  std::vector<Eigen::Index> freed;
  std::vector<Eigen::Index> stuck;  // at zero, where rounding alone says that they could rise
  for (Eigen::Index round = 0; round < 3 * count; ++round) {
    const Eigen::VectorXd slope = right - squares * x;
    Eigen::Index best = -1;
    for (Eigen::Index at = 0; at < count; ++at) {
      if (x[at] == 0 && slope[at] > least && (best < 0 || slope[at] > slope[best]) &&
          std::find(stuck.begin(), stuck.end(), at) == stuck.end()) {
        best = at;
      }
    }
    if (best < 0) {
      break;
    }
    freed.push_back(best);
    settle(squares, right, freed, x);
    if (x[best] == 0) {
      stuck.push_back(best);
    } else {
      stuck.clear();
    }
  }
  return x;
}

}  // namespace lab
