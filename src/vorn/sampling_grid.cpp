#include "vorn/sampling_grid.h"

#include <algorithm>
#include <cmath>

namespace {

// The wait for a point may end, by the clock's own rounding, a moment before it.
constexpr double kEarly = 1e-3;  // of a period

// By which the wall clock may gain on the monotonic one between two samples without having been
// set: what the readings of both are apart, and what a clock that is being corrected gains.
constexpr double kReading = 1e-3;     // s
constexpr double kCorrection = 1e-3;  // s for each second

// To open a machine's sensors takes some of a hundredth of a second: at a high rate that is a few
// samples, of a time in which the load has not begun. It begins half a second after the sampling.
constexpr double kOpening = 0.1;    // s
constexpr double kHeadStart = 0.5;  // s

std::uint64_t sum(std::uint64_t count, double more) {
  constexpr double kMost = 9e18;
  return static_cast<std::uint64_t>(std::min(static_cast<double>(count) + more, kMost));
}

}  // namespace

void SamplingGrid::taken(const ClockPair& time) {
  const bool moved = follow_wall_clock(time);
  const double position = time.wall / period_;
  const double point = std::floor(position + kEarly);
  advance(point);
  const double gap = time.monotonic - last_.monotonic;
  if (moved ? gap > 1.5 * period_ : position - point > 0.5) {
    ++late_;
  }
  longest_gap_ = std::max(longest_gap_, gap);
  last_ = time;
  next_point_ = std::max(next_point_, point + 1.0);
  points_ = sum(points_, 1.0);
}

void SamplingGrid::ended(const ClockPair& time) {
  follow_wall_clock(time);
  advance(std::floor(time.wall / period_ + 0.5));
  if (left_out_ != 0) {
    longest_gap_ = std::max(longest_gap_, time.monotonic - last_.monotonic);
  }
}

bool SamplingGrid::began_late() const {
  return behind_ >= std::clamp(period_, kOpening, kHeadStart);
}

/// Counts the points before `point` that have no sample as left out.
void SamplingGrid::advance(double point) {
  if (point > next_point_) {
    const double missed = point - next_point_;
    left_out_ = sum(left_out_, missed);
    points_ = sum(points_, missed);
    next_point_ = point;
  }
}

/// Moves the next point along if the wall clock was set since the last sample. Returns whether.
bool SamplingGrid::follow_wall_clock(const ClockPair& time) {
  const double gap = time.monotonic - last_.monotonic;
  const double gained = time.wall - last_.wall - gap;
  if (std::abs(gained) <= kReading + kCorrection * gap) {
    return false;
  }
  last_.wall += gained;
  next_point_ = std::floor(last_.wall / period_ + kEarly) + 1.0;
  return true;
}
