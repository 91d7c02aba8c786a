#include "vorn/toggle_source.h"

#include <cmath>
#include <limits>
#include <numeric>

#include "vorn/toggle_schedule.h"

// The schedule is in whole microseconds: at 300 Hz two halves of 1667 for a period of 3333.33. What
// it misses of its wave is spread over all its intervals, so that the mean frequency is right from
// the first period on, and the drift correction is left with the clocks alone. So that no fraction
// of a nanosecond is lost, it is owed to the next interval.

namespace {

// 146 years. A schedule without intervals, as an infinite frequency gives, leaves the waveform as
// it is for so long.
constexpr std::int64_t kForEver = std::numeric_limits<std::int64_t>::max() / 2;

double nanoseconds_in_a_microsecond(const std::vector<unsigned>& schedule, double slot) {
  const double length = std::accumulate(schedule.begin(), schedule.end(), 0.0);
  const double wanted = 0.5 * slot * static_cast<double>(schedule.size());  // seconds
  return length > 0.0 ? 1e9 * wanted / length : 1e3;
}

}  // namespace

ToggleSource::ToggleSource(DriftCorrection::Clocks clocks)
    : drift_(toggle_times(schedule_), clocks),
      stretch_(nanoseconds_in_a_microsecond(schedule_, drift_.slot())) {}

std::optional<std::int64_t> ToggleSource::next_ns() {
  if (under_way_) {
    drift_.interval_ended();
  }
  under_way_ = true;
  if (schedule_.empty()) {
    return kForEver;
  }
  const unsigned interval = schedule_[next_];
  next_ = next_ + 1 < schedule_.size() ? next_ + 1 : 0;
  if (interval == 0) {
    return 0;
  }
  const double exact = drift_.corrected(interval * stretch_) + owed_ns_;
  if (exact >= static_cast<double>(kForEver)) {
    return kForEver;
  }
  const double whole = std::rint(exact);
  owed_ns_ = exact - whole;
  return static_cast<std::int64_t>(whole);
}
