#pragma once

#include <cstddef>
#include <limits>
#include <vector>

#include "lab/data/table.h"

namespace lab {

struct Extent {
  double least = std::numeric_limits<double>::quiet_NaN();  ///< NaN: nothing was measured
  double most = std::numeric_limits<double>::quiet_NaN();
};

/// The least and the greatest value of every column of a table that grows. Looks at each row once,
/// so that a frame late in a long run costs no more than one early on.
class Extremes {
 public:
  /// Takes the rows that the table has got since the last call. A table with fewer rows or other
  /// columns is a new one.
  void take(const Table& table);

  /// Of the column with that index. Requires: take() has seen it.
  const Extent& of(std::size_t column) const { return extents_[column]; }

 private:
  std::size_t taken_ = 0;
  std::vector<Extent> extents_;
};

}  // namespace lab
