#pragma once

#include <Eigen/Core>
#include <array>
#include <cmath>
#include <numbers>
#include <span>
#include <vector>

namespace lab {

/// The model of a lock-in: a straight line, decays that are parts of the stretch, and the cosine
/// and sine of each frequency. Its columns, row by row. The arguments must outlive it.
class LockInModel {
  static constexpr std::array kDecays{1.0 / 30, 1.0 / 8, 1.0 / 2};  // parts of the stretch

 public:
  /// Columns of the slow part, which come first.
  static constexpr Eigen::Index kSlow = 2 + static_cast<Eigen::Index>(kDecays.size());

  LockInModel(std::span<const double> time_s, const std::vector<double>& frequencies_hz)
      : time_s_(time_s),
        frequencies_hz_(frequencies_hz),
        length_s_(time_s.back() - time_s.front()) {}

  Eigen::Index columns() const {
    return kSlow + 2 * static_cast<Eigen::Index>(frequencies_hz_.size());
  }
  static Eigen::Index cosine(std::size_t tone) {
    return kSlow + 2 * static_cast<Eigen::Index>(tone);
  }
  double length_s() const { return length_s_; }

  /// The slow part of a row at `since_s`.
  template <class Row>
  void slow(double since_s, Row&& row) const {
    const double part = since_s / length_s_;
    row[0] = 1;
    row[1] = part - 0.5;
    for (std::size_t decay = 0; decay < kDecays.size(); ++decay) {
      row[2 + static_cast<Eigen::Index>(decay)] = std::exp(-part / kDecays[decay]);
    }
  }

  /// Rows [begin, begin + rows.rows()).
  void fill(Eigen::Index begin, Eigen::MatrixXd& rows) const {
    const auto since_s = [&](Eigen::Index at) {
      return time_s_[static_cast<std::size_t>(begin + at)] - time_s_.front();
    };
    for (Eigen::Index at = 0; at < rows.rows(); ++at) {
      slow(since_s(at), rows.row(at));
    }
    for (std::size_t tone = 0; tone < frequencies_hz_.size(); ++tone) {
      for (Eigen::Index at = 0; at < rows.rows(); ++at) {
        const double angle = 2 * std::numbers::pi * frequencies_hz_[tone] * since_s(at);
        rows(at, cosine(tone)) = std::cos(angle);
        rows(at, cosine(tone) + 1) = std::sin(angle);
      }
    }
  }

 private:
  std::span<const double> time_s_;
  const std::vector<double>& frequencies_hz_;
  double length_s_;
};

}  // namespace lab
