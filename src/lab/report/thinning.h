#pragma once

#include <cstddef>
#include <vector>

#include "lab/data/answer.h"

namespace lab {

/// Draws many rows as few points, so that every peak is still seen: rows next to each other become
/// two points, the least and the largest value among them in the order in which they came. Rows
/// that are few enough are kept as they are.
class Thinning {
 public:
  /// `rows` become about `most` points. No point stands for rows on both sides of a break: the row
  /// after which a break lies is the last of its bucket. `breaks` ascend.
  Thinning(std::size_t rows, std::size_t most, const std::vector<std::size_t>& breaks = {});

  /// Where the points lie; `x` ascends: first and last of each bucket.
  std::vector<double> positions(const std::vector<double>& x) const;

  /// NaN where a bucket has no value.
  std::vector<double> values(const std::vector<double>& y) const;

  /// Rows that two points stand for; 1 if none are left out.
  double rows_in_a_bucket() const;

 private:
  bool whole() const { return begins_.empty(); }

  std::size_t rows_;
  std::vector<std::size_t> begins_;  ///< the first row of each bucket, and the end of the last one
};

/// A series of about so many points at most, its band likewise. One whose x does not ascend, such
/// as a loop, stays as it is: its neighbours are not neighbours in the picture.
Series thinned(const Series& series, std::size_t most);

}  // namespace lab
