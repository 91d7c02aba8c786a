#include "vorn/drift_correction.h"

#include <algorithm>
#include <cmath>

#include "vorn/numbers.h"

// A period's length by the wall clock is what was planned by the monotonic clock, times how much
// faster the wall clock ran. Late wake-ups are not in it, since each shortens the sleep after it,
// and neither are stops, in which both clocks run on.
//
// On Linux both clocks are slewed together, and all that can part them are steps of the wall clock
// and suspends, in which the monotonic clock stands still. Those are not a rate: scaled by them,
// the next ten seconds could last a year, or no time at all. So a period in which the clocks part
// by more than any clock is slewed says nothing.

namespace {

constexpr double kPeriod = 10.0;       // seconds, about
constexpr double kFastestSlew = 1e-3;  // twice the 500 ppm to which NTP and adjtime() keep

std::uint32_t slots_in_a_period(double slot) {
  return std::max(to_uint32(std::rint(kPeriod / slot)), std::uint32_t{1});
}

}  // namespace

DriftCorrection::DriftCorrection(double slot, Clocks clocks)
    : clocks_(clocks),
      slot_(slot),
      intervals_(2 * slots_in_a_period(slot)),
      countdown_(intervals_),
      start_(clocks()) {}

void DriftCorrection::interval_ended() {
  if (--countdown_ != 0) {
    return;
  }
  const ClockPair t = clocks_();
  const double rate = (t.wall - start_.wall) / (t.monotonic - start_.monotonic);
  // The period was planned 1 / scale long, in units of its nominal length. A rate that is no
  // number, of a period of no length, is no slew either.
  scale_ = std::abs(rate - 1.0) <= kFastestSlew ? rate / scale_ : 1.0;
  countdown_ = intervals_;
  start_ = t;
}
