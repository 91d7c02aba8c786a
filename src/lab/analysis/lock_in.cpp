#include "lab/analysis/lock_in.h"

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <Eigen/QR>
#include <algorithm>
#include <array>
#include <cmath>

// The rows of a long record times the columns of the model do not fit into memory, so the model is
// made block by block, once for the normal equations and once for the residuals.
//
// The residuals beside a tone are needed at a dozen frequencies for each tone. They are first
// shifted down by the tone's frequency and summed up in kParts parts of the stretch; the neighbours
// are then sums over parts instead of rows. The loss over a part is below 1 % for the farthest.

namespace lab {

namespace {

using Eigen::Index;

constexpr double kTwoPi = 6.283185307179586;
constexpr Index kBlock = 1024;
constexpr std::array kDecays{1.0 / 30, 1.0 / 8, 1.0 / 2};  // parts of the stretch
constexpr Index kSlow = 2 + static_cast<Index>(kDecays.size());
constexpr int kParts = 128;
constexpr int kNeighbours = 6;  // on each side; the nearest weigh most

class Model {
 public:
  Model(std::span<const double> time_s, const std::vector<double>& frequencies_hz)
      : time_s_(time_s),
        frequencies_hz_(frequencies_hz),
        length_s_(time_s.back() - time_s.front()) {}

  Index columns() const { return kSlow + 2 * static_cast<Index>(frequencies_hz_.size()); }
  static Index cosine(std::size_t tone) { return kSlow + 2 * static_cast<Index>(tone); }
  double length_s() const { return length_s_; }

  /// The slow part of a row at `since_s`.
  template <class Row>
  void slow(double since_s, Row&& row) const {
    const double part = since_s / length_s_;
    row[0] = 1;
    row[1] = part - 0.5;
    for (std::size_t decay = 0; decay < kDecays.size(); ++decay) {
      row[2 + static_cast<Index>(decay)] = std::exp(-part / kDecays[decay]);
    }
  }

  /// Rows [begin, begin + rows.rows()).
  void fill(Index begin, Eigen::MatrixXd& rows) const {
    for (Index at = 0; at < rows.rows(); ++at) {
      const double since_s = time_s_[static_cast<std::size_t>(begin + at)] - time_s_.front();
      slow(since_s, rows.row(at));
      for (std::size_t tone = 0; tone < frequencies_hz_.size(); ++tone) {
        const double angle = kTwoPi * frequencies_hz_[tone] * since_s;
        rows(at, cosine(tone)) = std::cos(angle);
        rows(at, cosine(tone) + 1) = std::sin(angle);
      }
    }
  }

  template <class Take>
  void each_block(const Take& take) const {
    const auto count = static_cast<Index>(time_s_.size());
    Eigen::MatrixXd rows;
    for (Index begin = 0; begin < count; begin += kBlock) {
      rows.resize(std::min(kBlock, count - begin), columns());
      fill(begin, rows);
      take(begin, rows);
    }
  }

 private:
  std::span<const double> time_s_;
  const std::vector<double>& frequencies_hz_;
  double length_s_;
};

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

// Normal equations of one series.
struct Normal {
  Eigen::MatrixXd squares;
  Eigen::VectorXd right;
  std::size_t measured = 0;
};

std::vector<Normal> normal_equations(const Model& model,
                                     const std::vector<std::span<const double>>& series) {
  const Index columns = model.columns();
  std::vector<Normal> normals(
      series.size(), {Eigen::MatrixXd::Zero(columns, columns), Eigen::VectorXd::Zero(columns), 0});
  Eigen::MatrixXd product(columns, columns);
  model.each_block([&](Index begin, const Eigen::MatrixXd& rows) {
    bool known = false;  // most series have all their values, and share this product
    for (std::size_t at = 0; at < series.size(); ++at) {
      Normal& normal = normals[at];
      Block block = block_of(series[at], begin, rows.rows());
      if (block.whole) {
        if (!known) {
          product.noalias() = rows.transpose() * rows;
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
      normal.squares.noalias() += there.transpose() * there;
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
  Eigen::MatrixXd squares = scale.asDiagonal() * normal.squares * scale.asDiagonal();
  squares.diagonal().array() += 1e-12;
  const Eigen::LDLT<Eigen::MatrixXd> factors(squares);
  const Index columns = squares.rows();
  return {.parameters = scale.asDiagonal() * factors.solve(scale.asDiagonal() * normal.right),
          .inverse = scale.asDiagonal() *
                     factors.solve(Eigen::MatrixXd::Identity(columns, columns)) *
                     scale.asDiagonal()};
}

// Residuals of one series: shifted down by each tone's frequency, and summed up by parts.
struct Shifted {
  std::vector<std::array<std::complex<double>, kParts>> sums;  // by tone
  double squares = 0;
};

std::vector<Shifted> shifted_residuals(const Model& model, std::span<const double> time_s,
                                       const std::vector<std::span<const double>>& series,
                                       const std::vector<Solved>& solved, std::size_t tones) {
  std::vector<Shifted> all(series.size());
  for (Shifted& shifted : all) {
    shifted.sums.assign(tones, {});
  }
  model.each_block([&](Index begin, const Eigen::MatrixXd& rows) {
    std::vector<std::size_t> part;
    for (Index at = 0; at < rows.rows(); ++at) {
      const double place =
          (time_s[static_cast<std::size_t>(begin + at)] - time_s.front()) / model.length_s();
      part.push_back(std::min<std::size_t>(kParts - 1, static_cast<std::size_t>(place * kParts)));
    }
    for (std::size_t which = 0; which < series.size(); ++which) {
      Eigen::VectorXd left =
          Eigen::Map<const Eigen::VectorXd>(series[which].data() + begin, rows.rows());
      left -= rows * solved[which].parameters;
      left = left.array().isFinite().select(left, 0.0);
      all[which].squares += left.squaredNorm();
      for (std::size_t tone = 0; tone < tones; ++tone) {
        const Index cosine = Model::cosine(tone);
        for (Index at = 0; at < rows.rows(); ++at) {
          all[which].sums[tone][part[static_cast<std::size_t>(at)]] +=
              left[at] * std::complex<double>(rows(at, cosine), -rows(at, cosine + 1));
        }
      }
    }
  });
  return all;
}

// How much of a sinusoid the slow part of the model leaves in the residuals, as a part of its
// power.
class SlowPart {
 public:
  explicit SlowPart(const Model& model) : model_(model) {
    Eigen::MatrixXd slow(kRows, kSlow);
    for (Index at = 0; at < kRows; ++at) {
      model.slow(since_s(at), slow.row(at));
    }
    basis_ = Eigen::HouseholderQR<Eigen::MatrixXd>(slow).householderQ() *
             Eigen::MatrixXd::Identity(kRows, kSlow);
  }

  double leaves(double frequency_hz) const {
    constexpr double kSlowPeriods = kRows / 8.0;  // beyond, nothing is slow
    if (frequency_hz * model_.length_s() > kSlowPeriods) {
      return 1;
    }
    Eigen::MatrixXd wave(kRows, 2);
    for (Index at = 0; at < kRows; ++at) {
      const double angle = kTwoPi * frequency_hz * since_s(at);
      wave(at, 0) = std::cos(angle);
      wave(at, 1) = std::sin(angle);
    }
    return 1 - (basis_.transpose() * wave).squaredNorm() / wave.squaredNorm();
  }

 private:
  static constexpr Index kRows = 400;
  double since_s(Index at) const {
    return model_.length_s() * (static_cast<double>(at) + 0.5) / static_cast<double>(kRows);
  }

  const Model& model_;
  Eigen::MatrixXd basis_;
};

// The variance of a single value, as noise at and beside a frequency shows it.
struct LocalNoise {
  double variance = 0;
  double freedom = 0;
};

LocalNoise local_noise(const Model& model, const SlowPart& slow,
                       const std::vector<double>& frequencies_hz, std::size_t tone,
                       const Shifted& shifted, double measured) {
  double power = 0;
  double left = 0;
  double squares = 0;
  for (int step = -kNeighbours; step <= kNeighbours; ++step) {
    const double beside_hz = frequencies_hz[tone] + step / model.length_s();
    const bool a_tone =
        std::any_of(frequencies_hz.begin(), frequencies_hz.end(), [&](double frequency_hz) {
          return std::abs(frequency_hz - beside_hz) * model.length_s() < 0.75;
        });
    if (a_tone || beside_hz * model.length_s() < 0.75) {
      continue;
    }
    std::complex<double> sum = 0;
    for (int part = 0; part < kParts; ++part) {
      sum += shifted.sums[tone][static_cast<std::size_t>(part)] *
             std::polar(1.0, -kTwoPi * step * (part + 0.5) / kParts);
    }
    const double weight = 1 - (std::abs(step) - 1.0) / kNeighbours;
    const double share = slow.leaves(beside_hz);
    power += weight * std::norm(sum);
    left += weight * share;
    squares += weight * weight * share;
  }
  // White noise of variance v has E |sum|^2 = n v. Two degrees of freedom each, fewer as weights
  // differ.
  return {.variance = left > 0 ? power / (left * measured) : 0,
          .freedom = squares > 0 ? 2 * left * left / squares : 0};
}

}  // namespace

std::vector<LockedIn> lock_in(std::span<const double> time_s,
                              const std::vector<std::span<const double>>& series,
                              const std::vector<double>& frequencies_hz) {
  std::vector<LockedIn> found(series.size());
  if (time_s.size() < 2) {
    return found;
  }
  const Model model(time_s, frequencies_hz);
  const std::vector<Normal> normals = normal_equations(model, series);
  std::vector<Solved> solved;
  for (const Normal& normal : normals) {
    solved.push_back(solve(normal));
  }
  const std::vector<Shifted> residuals =
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
      const Index cosine = Model::cosine(tone);
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
