#include "vorn/sampling_grid.h"

#include <algorithm>
#include <cmath>

namespace {

// The wait for a point may end, by the clock's own rounding, a moment before it.
constexpr double kEarly = 1e-3;  // of a period

}  // namespace

void SamplingGrid::taken(double time) {
  const double position = time / period_;
  const double point = std::floor(position + kEarly);
  advance(point);
  if (position - point > 0.5) {
    ++late_;
  }
  longest_gap_ = std::max(longest_gap_, time - last_time_);
  last_time_ = time;
  next_point_ = std::max(next_point_, point + 1.0);
  ++points_;
}

void SamplingGrid::ended(double time) {
  advance(std::floor(time / period_ + 0.5));
  if (left_out_ != 0) {
    longest_gap_ = std::max(longest_gap_, time - last_time_);
  }
}

/// Counts the points before `point` that have no sample as left out.
void SamplingGrid::advance(double point) {
  if (point > next_point_) {
    const auto missed = static_cast<std::uint64_t>(point - next_point_);
    left_out_ += missed;
    points_ += missed;
    next_point_ = point;
  }
}
