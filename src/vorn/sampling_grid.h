#pragma once

#include <cstdint>

/// Counts how well the samples kept to their grid: the points at whole multiples of a period, each
/// of which is to have a sample. A sample belongs to the latest point before it. It is late if it
/// comes more than half a period after that point, and a point without a sample is left out.
/// Times in seconds since sampling began. Thread: one at a time.
class SamplingGrid {
 public:
  explicit SamplingGrid(double period) : period_(period) {}

  /// A sample with this time stamp. Times do not fall, unless the clock is set back.
  void taken(double time);
  /// Sampling ends. A point less than half a period ago is not missed for that.
  void ended(double time);

  std::uint64_t points() const { return points_; }  ///< up to the last one that counts
  std::uint64_t late() const { return late_; }
  std::uint64_t left_out() const { return left_out_; }
  double longest_gap() const { return longest_gap_; }  ///< between two samples, or to the end

 private:
  void advance(double point);

  double period_;
  double last_time_ = 0.0;
  double next_point_ = 0.0;  ///< in periods; the first that has no sample yet
  std::uint64_t points_ = 0;
  std::uint64_t late_ = 0;
  std::uint64_t left_out_ = 0;
  double longest_gap_ = 0.0;
};
