#pragma once

#include <cstdint>

/// Keeps a schedule's length true to the clock, although its many short sleeps overrun.
///
/// About every ten seconds it compares how long the schedule took with how long it should have
/// taken, and scales every sleep until the next comparison by that ratio. The ratio is replaced,
/// not accumulated: under a steady overrun by a factor k the periods alternate between k and
/// about 1. Pure but for the clock that it is given.
class DriftCorrection {
 public:
  using Clock = double (*)();  ///< seconds

  /// For a schedule of two intervals in each slot of `slot` seconds, starting now.
  DriftCorrection(double slot, Clock clock);

  /// The sleep to ask for, for an interval of `microseconds`.
  std::uint32_t corrected(std::uint32_t microseconds) const;

  /// To be called after every interval, those of no length too.
  void interval_ended();

  double scale() const { return scale_; }

 private:
  Clock clock_;
  std::uint32_t intervals_;  // in one comparison's period
  double span_;              // its nominal length, seconds
  double scale_ = 1.0;
  std::uint32_t countdown_;
  double start_;
};
