#pragma once

#include <cstdint>

#include "vorn/clock.h"

/// Counts how well the samples kept to their grid: the points at whole multiples of a period, each
/// of which is to have a sample. A sample belongs to the latest point before it. It is late if it
/// comes more than half a period after that point, and a point without a sample is left out.
/// The points lie on the wall clock. When that is set, they move with it: the sample after that is
/// late only by the monotonic clock, and no point is left out for it.
/// Times in seconds since sampling began. Thread: one at a time.
class SamplingGrid {
 public:
  explicit SamplingGrid(double period) : period_(period) {}

  /// A sample is taken at this time.
  void taken(const ClockPair& time);
  /// Sampling ends. A point less than half a period ago is not missed for that.
  void ended(const ClockPair& time);

  // A period that no clock can follow may leave out more points than there are numbers for: each of
  // these stays below 2^63.
  std::uint64_t points() const { return points_; }  ///< up to the last one that counts
  std::uint64_t late() const { return late_; }
  std::uint64_t left_out() const { return left_out_; }
  double longest_gap() const {
    return longest_gap_;
  }  ///< between two samples, or to the end; in
     ///< seconds of the monotonic clock

 private:
  void advance(double point);
  bool follow_wall_clock(const ClockPair& time);

  double period_;
  ClockPair last_{0.0, 0.0};
  double next_point_ = 0.0;  ///< in periods; the first that has no sample yet
  std::uint64_t points_ = 0;
  std::uint64_t late_ = 0;
  std::uint64_t left_out_ = 0;
  double longest_gap_ = 0.0;
};
