#pragma once

#include <optional>
#include <span>

#include "lab/data/estimate.h"

namespace lab {

/// How a fan went from one speed to another.
struct FanStep {
  bool known = false;
  double from_rpm = 0;     ///< before the step
  Estimate to_rpm;         ///< where it leads
  Estimate time_constant;  ///< s
  Estimate dead_time;      ///< s: from the instant at which the speed was asked for to its begin
};

/// Fits to + height exp(-t / tau) to a step, from where a tenth of its way is gone; the dead time
/// is where that curve leaves the speed before. Instants count from when the speed was asked for.
/// Speeds that a slow sensor repeats do not count. The intervals hold every tau that the speeds
/// allow. Not known if the speed hardly changed, or if there are too few of them.
///
/// Requires, here and below: as many speeds as instants, which ascend; the speeds are finite.
/// Source: separable least squares and profile intervals, as in settled_value.h.
FanStep fan_step(std::span<const double> since_s, std::span<const double> speeds_rpm,
                 double before_rpm);

/// How a fan came to rest, or did not.
struct FanStop {
  bool stands_still = false;
  bool slowing = false;  ///< it turns to the end, and is still getting slower: nobody can tell
  Estimate speed_rpm;    ///< the last one at which it turned: from there it stopped dead
  Estimate after_s;      ///< after the stop was asked for
};

/// Looks for the last time at which a fan turned (1 RPM at least) that was asked to stop. The
/// interval of the speed holds what it may have come to until the next sample, if it slowed down as
/// it did before; that of the time, the instants of the two samples. For `slowing`, see
/// steady_speed().
FanStop fan_stop(std::span<const double> since_s, std::span<const double> speeds_rpm);

/// When a fan that stood still was seen to turn, in s after that was asked for: between two
/// samples. Nothing: it never was.
std::optional<Estimate> fan_start(std::span<const double> since_s,
                                  std::span<const double> speeds_rpm);

/// Whether a fan kept a speed over the last half of a stay, and which.
struct SteadySpeed {
  bool steady = false;
  bool moving = false;  ///< it was on its way to another speed
  Estimate rpm;
};

/// Steady is a fan that never stands still and whose standard deviation is below a twentieth of the
/// mean. It is moving if the straight line through that half goes up or down by more than a
/// twentieth of the mean. The interval of the mean is that of column_statistics.h.
SteadySpeed steady_speed(std::span<const double> since_s, std::span<const double> speeds_rpm);

}  // namespace lab
