#include "lab/live/extremes.h"

#include <cmath>

namespace lab {

void Extremes::take(const Table& table) {
  const std::size_t rows = table.time_s.size();
  if (rows < taken_ || table.columns.size() != ranges_.size()) {
    taken_ = 0;
    ranges_.assign(table.columns.size(), Range{});
  }
  for (std::size_t column = 0; column < ranges_.size(); ++column) {
    Range& range = ranges_[column];
    for (std::size_t row = taken_; row < rows; ++row) {
      // With NaN, fmin and fmax give the other one.
      range.least = std::fmin(range.least, table.columns[column].values[row]);
      range.most = std::fmax(range.most, table.columns[column].values[row]);
    }
  }
  taken_ = rows;
}

}  // namespace lab
