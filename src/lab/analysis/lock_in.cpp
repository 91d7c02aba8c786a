#include "lab/analysis/lock_in.h"

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <algorithm>
#include <cmath>

#include "lab/analysis/lock_in_model.h"
#include "lab/analysis/lock_in_noise.h"

// The rows of a long record times the columns of the model do not fit into memory, so the model is
// made block by block, once for the normal equations and once for the residuals.

namespace lab {

namespace {

using Eigen::Index;

constexpr Index kBlock = 1024;

template <class Take>
void each_block(const LockInModel& model, std::span<const double> time_s, const Take& take) {
  const auto count = static_cast<Index>(time_s.size());
  Eigen::MatrixXd rows;
  for (Index begin = 0; begin < count; begin += kBlock) {
    rows.resize(std::min(kBlock, count - begin), model.columns());
    model.fill(begin, rows);
    take(begin, rows);
  }
}

// The values of a block, and those of its rows that have one.
struct Block {
  Eigen::VectorXd values;
  bool whole = true;
};

Block block_of(std::span<const double> series, Index begin, Index rows) {
  Block block{.values = Eigen::Map<const Eigen::VectorXd>(series.data() + begin, rows)};
  block.whole = block.values.allFinite();
  return block;
}

void leave_out(Block& block, Eigen::MatrixXd& rows) {
  for (Index at = 0; at < rows.rows(); ++at) {
    if (!std::isfinite(block.values[at])) {
      block.values[at] = 0;
      rows.row(at).setZero();
    }
  }
}

// Normal equations of one series; of the squares, the lower half.
struct Normal {
  Eigen::MatrixXd squares;
  Eigen::VectorXd right;
  std::size_t measured = 0;
};

std::vector<Normal> normal_equations(const LockInModel& model, std::span<const double> time_s,
                                     const std::vector<std::span<const double>>& series) {
  const Index columns = model.columns();
  std::vector<Normal> normals(
      series.size(), {Eigen::MatrixXd::Zero(columns, columns), Eigen::VectorXd::Zero(columns), 0});
  Eigen::MatrixXd product(columns, columns);
  each_block(model, time_s, [&](Index begin, const Eigen::MatrixXd& rows) {
    bool known = false;  // most series have all their values, and share this product
    for (std::size_t at = 0; at < series.size(); ++at) {
      Normal& normal = normals[at];
      Block block = block_of(series[at], begin, rows.rows());
      if (block.whole) {
        if (!known) {
          product.setZero();
          product.selfadjointView<Eigen::Lower>().rankUpdate(rows.transpose());
          known = true;
        }
        normal.squares += product;
        normal.right.noalias() += rows.transpose() * block.values;
        normal.measured += static_cast<std::size_t>(rows.rows());
        continue;
      }
      Eigen::MatrixXd there = rows;
      normal.measured += static_cast<std::size_t>(block.values.array().isFinite().count());
      leave_out(block, there);
      normal.squares.selfadjointView<Eigen::Lower>().rankUpdate(there.transpose());
      normal.right.noalias() += there.transpose() * block.values;
    }
  });
  return normals;
}

// The solution, and the inverse of the normal matrix.
struct Solved {
  Eigen::VectorXd parameters;
  Eigen::MatrixXd inverse;
};

Solved solve(const Normal& normal) {
  const Eigen::VectorXd scale =
      normal.squares.diagonal().cwiseMax(1e-300).cwiseSqrt().cwiseInverse();
  const Eigen::MatrixXd whole = normal.squares.selfadjointView<Eigen::Lower>();
  Eigen::MatrixXd squares = scale.asDiagonal() * whole * scale.asDiagonal();
  squares.diagonal().array() += 1e-12;
  const Eigen::LDLT<Eigen::MatrixXd> factors(squares);
  const Index columns = squares.rows();
  return {.parameters = scale.asDiagonal() * factors.solve(scale.asDiagonal() * normal.right),
          .inverse = scale.asDiagonal() *
                     factors.solve(Eigen::MatrixXd::Identity(columns, columns)) *
                     scale.asDiagonal()};
}

// Rows of a block that lie in one part of the whole.
struct RowStretch {
  Index begin = 0;
  Index rows = 0;
  std::size_t part = 0;
};

std::vector<RowStretch> stretches_of(std::span<const double> time_s, Index begin, Index rows) {
  const double length_s = time_s.back() - time_s.front();
  std::vector<RowStretch> stretches;
  for (Index at = 0; at < rows; ++at) {
    const double place = (time_s[static_cast<std::size_t>(begin + at)] - time_s.front()) / length_s;
    const auto part =
        std::min<std::size_t>(kLockInParts - 1, static_cast<std::size_t>(place * kLockInParts));
    if (stretches.empty() || stretches.back().part != part) {
      stretches.push_back({.begin = at, .rows = 0, .part = part});
    }
    ++stretches.back().rows;
  }
  return stretches;
}

std::vector<ShiftedResiduals> shifted_residuals(const LockInModel& model,
                                                std::span<const double> time_s,
                                                const std::vector<std::span<const double>>& series,
                                                const std::vector<Solved>& solved,
                                                std::size_t tones) {
  std::vector<ShiftedResiduals> all(series.size());
  for (ShiftedResiduals& shifted : all) {
    shifted.sums.assign(tones, {});
  }
  each_block(model, time_s, [&](Index begin, const Eigen::MatrixXd& rows) {
    const std::vector<RowStretch> stretches = stretches_of(time_s, begin, rows.rows());
    for (std::size_t which = 0; which < series.size(); ++which) {
      Eigen::VectorXd left =
          Eigen::Map<const Eigen::VectorXd>(series[which].data() + begin, rows.rows());
      left -= rows * solved[which].parameters;
      left = left.array().isFinite().select(left, 0.0);
      all[which].squares += left.squaredNorm();
      for (std::size_t tone = 0; tone < tones; ++tone) {
        const Index cosine = LockInModel::cosine(tone);
        for (const RowStretch& stretch : stretches) {
          const auto of = left.segment(stretch.begin, stretch.rows);
          all[which].sums[tone][stretch.part] += std::complex<double>(
              of.dot(rows.col(cosine).segment(stretch.begin, stretch.rows)),
              -of.dot(rows.col(cosine + 1).segment(stretch.begin, stretch.rows)));
        }
      }
    }
  });
  return all;
}

}  // namespace

std::vector<LockedIn> lock_in(std::span<const double> time_s,
                              const std::vector<std::span<const double>>& series,
                              const std::vector<double>& frequencies_hz) {
  std::vector<LockedIn> found(series.size());
  if (time_s.size() < 2) {
    return found;
  }
  const LockInModel model(time_s, frequencies_hz);
  const std::vector<Normal> normals = normal_equations(model, time_s, series);
  std::vector<Solved> solved;
  solved.reserve(normals.size());
  for (const Normal& normal : normals) {
    solved.push_back(solve(normal));
  }
  const std::vector<ShiftedResiduals> residuals =
      shifted_residuals(model, time_s, series, solved, frequencies_hz.size());
  const SlowPart slow(model);
  for (std::size_t at = 0; at < series.size(); ++at) {
    const auto measured = static_cast<double>(normals[at].measured);
    found[at].measured = normals[at].measured;
    if (measured < 2 * static_cast<double>(model.columns())) {
      continue;
    }
    found[at].residual_rms =
        std::sqrt(residuals[at].squares / (measured - static_cast<double>(model.columns())));
    for (std::size_t tone = 0; tone < frequencies_hz.size(); ++tone) {
      const LocalNoise noise =
          local_noise(model, slow, frequencies_hz, tone, residuals[at], measured);
      const Index cosine = LockInModel::cosine(tone);
      const double gain =
          (solved[at].inverse(cosine, cosine) + solved[at].inverse(cosine + 1, cosine + 1)) / 2;
      found[at].tones.push_back(
          {.value = {solved[at].parameters[cosine], -solved[at].parameters[cosine + 1]},
           .variance = noise.variance * gain,
           .freedom = noise.freedom});
    }
  }
  return found;
}

}  // namespace lab
