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
  /// `behind`: by how much the first point lies behind the instant at which sampling was to begin.
  explicit SamplingGrid(double period, double behind = 0.0) : period_(period), behind_(behind) {}

  /// A sample is taken at this time.
  void taken(const ClockPair& time);
  /// Sampling ends. A point less than half a period ago is not missed for that.
  void ended(const ClockPair& time);

  // A period that no clock can follow may leave out more points than there are numbers for: each of
  // these stays below 2^63.
  std::uint64_t points() const { return points_; }  ///< up to the last one that counts
  std::uint64_t late() const { return late_; }
  std::uint64_t left_out() const { return left_out_; }
  /// Between two samples, or to the end; in seconds of the monotonic clock.
  double longest_gap() const { return longest_gap_; }

  /// Whether so much time passed before the first point that samples are missing there.
  bool began_late() const;
  double behind() const { return behind_; }

 private:
  void advance(double point);
  bool follow_wall_clock(const ClockPair& time);

  double period_;
  double behind_;
  ClockPair last_{0.0, 0.0};
  double next_point_ = 0.0;  ///< in periods; the first that has no sample yet
  std::uint64_t points_ = 0;
  std::uint64_t late_ = 0;
  std::uint64_t left_out_ = 0;
  double longest_gap_ = 0.0;
};
