#include "lab/live/extremes.h"

#include <cmath>

namespace lab {

void Extremes::take(const Table& table) {
  const std::size_t rows = table.time_s.size();
  if (rows < taken_ || table.columns.size() != extents_.size()) {
    taken_ = 0;
    extents_.assign(table.columns.size(), Extent{});
  }
  for (std::size_t column = 0; column < extents_.size(); ++column) {
    Extent& extent = extents_[column];
    for (std::size_t row = taken_; row < rows; ++row) {
      // With NaN, fmin and fmax give the other one.
      extent.least = std::fmin(extent.least, table.columns[column].values[row]);
      extent.most = std::fmax(extent.most, table.columns[column].values[row]);
    }
  }
  taken_ = rows;
}

}  // namespace lab
