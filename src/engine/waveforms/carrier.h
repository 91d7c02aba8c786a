#pragma once

#include <cstdint>

/// A frequency as instants: when its periods begin, in ns since the first one.
///
/// Time is calculated from the number of periods, with one rounding, and never summed up. In
/// `long double`: a double would be a nanosecond off after some weeks.
class Carrier {
 public:
  explicit Carrier(long double frequency_hz) : frequency_hz_(frequency_hz) {}

  /// The instant `periods` periods after the first one began, rounded to ns.
  std::int64_t instant_ns(long double periods) const;

  long double instant_s(long double periods) const { return periods / frequency_hz_; }

  /// The whole periods that are over at `time_s`.
  std::uint64_t periods_until(long double time_s) const;

 private:
  long double frequency_hz_;
};

/// Nanoseconds, rounded. Requires: less than 292 years.
std::int64_t nanoseconds(long double seconds);

/// Throws WaveformError unless it can be a frequency of what `what` names: above 0, at most 1 MHz.
void check_frequency(const char* what, double frequency_hz);
