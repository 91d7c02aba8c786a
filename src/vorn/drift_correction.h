#pragma once

#include <cstdint>

#include "vorn/clock.h"

/// Keeps a schedule's length true to the wall clock, although it is played by the monotonic one.
///
/// About every ten seconds it compares how long the schedule took with how long it should have
/// taken, and scales every interval until the next comparison by that ratio. The ratio is replaced,
/// not accumulated: if the wall clock runs faster by a steady factor k, the periods alternate
/// between k and about 1. Pure but for the clocks that it is given.
class DriftCorrection {
 public:
  using Clocks = ClockPair (*)();

  /// For a schedule of two intervals in each slot of `slot` seconds, starting now.
  DriftCorrection(double slot, Clocks clocks);

  /// The length to play, for an interval of `length`. Any unit.
  double corrected(double length) const { return length / scale_; }

  /// To be called after every interval, those of no length too.
  void interval_ended();

  double slot() const { return slot_; }
  double scale() const { return scale_; }

 private:
  Clocks clocks_;
  double slot_;
  std::uint32_t intervals_;  // in one comparison's period
  double scale_ = 1.0;
  std::uint32_t countdown_;
  ClockPair start_;
};
