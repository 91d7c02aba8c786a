#include "lab/analysis/ladder.h"

#include <Eigen/Core>

// A ladder obeys C dT/dt = -G T + e1 P, with the capacitances C on a diagonal and G = B g B', where
// g are the conductances and B is the bidiagonal matrix of ones and minus ones that says between
// which rungs each lies. With T = C^-1/2 y its impedance is
//   Z(s) = b' (s I + L L')^-1 b,  b = e1 / sqrt(C_1),  L = C^-1/2 B g^1/2,
// and L is lower bidiagonal: L_kk^2 = g_k / C_k, L_(k+1)k^2 = g_k / C_(k+1). The same impedance in
// Foster form has D = diag(1/tau) instead of L L', and b_i^2 = R_i / tau_i. So L is what the
// bidiagonalisation of D^1/2, begun with b, comes to.

namespace lab {

namespace {

using Vector = Eigen::Matrix<long double, Eigen::Dynamic, 1>;
using Matrix = Eigen::Matrix<long double, Eigen::Dynamic, Eigen::Dynamic>;

// Takes the part in the first `count` columns out of a vector, twice: once leaves what rounding
// has put in.
void make_orthogonal(const Matrix& columns, Eigen::Index count, Vector& vector) {
  for (int round = 0; round < 2; ++round) {
    const Vector along = columns.leftCols(count).transpose() * vector;
    vector -= columns.leftCols(count) * along;
  }
}

}  // namespace

std::vector<Rung> ladder_of(const std::vector<FosterStage>& stages) {
  const auto count = static_cast<Eigen::Index>(stages.size());
  if (count == 0) {
    return {};
  }
  Vector root(count);   // of D
  Vector start(count);  // b
  for (Eigen::Index at = 0; at < count; ++at) {
    const FosterStage& stage = stages[static_cast<std::size_t>(at)];
    root[at] = std::sqrt(1 / static_cast<long double>(stage.tau_s));
    start[at] = std::sqrt(static_cast<long double>(stage.resistance) /
                          static_cast<long double>(stage.tau_s));
  }
  Matrix left(count, count);
  Matrix right(count, count);
  long double capacitance = 1 / start.squaredNorm();
  Vector u = start.normalized();
  std::vector<Rung> ladder;
  for (Eigen::Index at = 0;; ++at) {
    left.col(at) = u;
    Vector v = root.cwiseProduct(u);
    make_orthogonal(right, at, v);
    const long double diagonal = v.norm();
    right.col(at) = v / diagonal;
    const long double conductance = diagonal * diagonal * capacitance;
    ladder.push_back({.resistance = static_cast<double>(1 / conductance),
                      .capacitance = static_cast<double>(capacitance)});
    if (at + 1 == count) {
      return ladder;
    }
    u = root.cwiseProduct(right.col(at));
    make_orthogonal(left, at + 1, u);
    const long double below = u.norm();
    capacitance = conductance / (below * below);
    u /= below;
  }
}

}  // namespace lab
