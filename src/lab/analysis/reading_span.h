#pragma once

#include <span>
#include <vector>

namespace lab {

/// What a reading of power is the mean of. A record does not say it. Where samples come at even
/// distances all are the same; where one is held up, they are not.
enum class ReadingSpan {
  since_before,    ///< the time since the sample before
  period_or_more,  ///< that, but a period at least: a short one repeats part of what was read
                   ///< before
  last_period,     ///< the last period, however long ago the sample before was
};

/// The period at which most samples come, in s: the median of their distances. 0 if no distance is
/// off it by more than a fiftieth, and if a third of them is by more than a tenth: those were not
/// meant to come at a period. Requires: time_s ascends.
double reading_period(std::span<const double> time_s);

/// The means since the sample before, of readings that are means over such a span of `period_s`.
/// With `last_period`, what held a late sample up is taken to have come last: what nobody read is
/// as it was before, and a reading soon after, which holds more of that than of its own time, is
/// taken to be the next one. Missing readings (NaN) stay missing.
/// Requires: time_s ascends, as long as heat.
std::vector<double> since_before(std::span<const double> time_s, std::span<const double> heat,
                                 ReadingSpan span, double period_s);

}  // namespace lab
