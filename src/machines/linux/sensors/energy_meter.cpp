#include "machines/linux/sensors/energy_meter.h"

#include <algorithm>
#include <limits>

// Energy counters are refreshed about once a millisecond, some with noise added on purpose, so a
// window of less than 50 ms says little, and one within a single interval says zero or a spike.
//
// Windows. Who reads every 50 ms or more slowly gets the energy between his two readings, neither
// more nor less. Who reads faster gets a window that slides behind him: two anchors are kept, each
// 50 ms or more after the one before, and the window begins at the youngest that is 50 ms old; so
// windows are then 50 to 100 ms long, or longer after a pause.
//
// Wrap-around. A counter goes from its range back to 0, so a step down is range + 1 short. That
// tells one wrap from none and nothing more: a window in which the largest possible power fills
// the range is rejected, as is a power beyond the largest possible, which is what a counter that
// began anew (after suspend) looks like. Measuring then starts again at that reading.
//
// A counter that has not moved has not been refreshed yet: the last power stands. For a second
// and more that is no refresh interval any more, but a counter that is dead.
//
// Slow counters. A counter that stands still for tens of milliseconds (some are refreshed so
// rarely, others count so little) gives one interval of energy too much or too little to a window
// that begins or ends anywhere in between: read each 70 ms, one of 60 W that moves each 100 ms
// would show 43 and 86 W in turn. So windows begin and end with readings that find it moved, and
// are four intervals long (a second at most); these 60 W read as 54 to 64. How long an interval is,
// is seen when it moves after a reading that found it standing, and forgotten while none does:
// windows of ordinary counters stay as above. Limits: the error is up to a quarter of the time
// between two reads over the interval, half as much again for an unlucky ratio of the two. Who
// reads as rarely as the counter moves, or more rarely, hardly ever sees it stand, gets the energy
// between his reads as always, and sees the one interval too much or too little: half of the power
// if he reads each two intervals, a tenth if each ten.

namespace linux_machine {
namespace {

constexpr std::int64_t kShortestWindowNs = 50'000'000;
constexpr std::int64_t kLongestStandstillNs = 1'000'000'000;
constexpr double kWattsPerUjPerNs = 1000;

// Of a slow counter's intervals, in its shortest window.
constexpr std::int64_t kIntervals = 4;
// No longer than makes a window of a second: what stands for so long is taken for dead.
constexpr std::int64_t kLongestIntervalNs = kLongestStandstillNs / kIntervals;
// This part of an interval is forgotten at each change that no standstill came before.
constexpr std::int64_t kForgetting = 8;

}  // namespace

EnergyMeter::EnergyMeter(const EnergyCounterLimits& limits)
    : limits_(limits), longest_window_ns_(std::numeric_limits<std::int64_t>::max()) {
  if (limits.range_uj > 0) {
    longest_window_ns_ = static_cast<std::int64_t>(static_cast<double>(limits.range_uj) /
                                                   limits.most_w * kWattsPerUjPerNs);
  }
}

EnergyMeter::Taken EnergyMeter::take(const EnergyReading& reading) {
  if (!begun_) {
    return begin_with(reading, Outcome::too_early);
  }
  if (reading.energy_uj == changed_.energy_uj) {
    return unmoved(reading);
  }
  learn_interval(reading);
  const EnergyReading* const from = window_start(reading.at_ns);
  if (from == nullptr) {
    return not_yet(older_.at_ns + shortest_window_ns());
  }
  if (reading.at_ns - from->at_ns > longest_window_ns_) {
    return begin_with(reading, Outcome::too_rare);
  }
  const std::optional<double> power = power_w(*from, reading);
  if (!power) {
    return begin_with(reading, Outcome::rejected);
  }
  if (reading.at_ns - newer_.at_ns >= shortest_window_ns()) {
    older_ = *from;
    newer_ = reading;
  }
  last_ = reading;
  last_power_w_ = power;
  return {Outcome::measured, *power};
}

EnergyMeter::Taken EnergyMeter::begin_with(const EnergyReading& reading, Outcome outcome) {
  begun_ = true;
  last_ = newer_ = older_ = changed_ = reading;
  stood_ = false;
  last_power_w_.reset();
  ready_at_ns_ = reading.at_ns + shortest_window_ns();
  return {outcome};
}

EnergyMeter::Taken EnergyMeter::unmoved(const EnergyReading& reading) {
  stood_ = true;
  if (reading.at_ns - changed_.at_ns >= kLongestStandstillNs) {
    return {Outcome::stuck};
  }
  return not_yet(reading.at_ns + kShortestWindowNs);
}

EnergyMeter::Taken EnergyMeter::not_yet(std::int64_t ready_at_ns) {
  if (last_power_w_) {
    return {Outcome::measured, *last_power_w_};
  }
  ready_at_ns_ = ready_at_ns;
  return {Outcome::too_early};
}

void EnergyMeter::learn_interval(const EnergyReading& changed) {
  interval_ns_ = stood_ ? std::min(changed.at_ns - changed_.at_ns, kLongestIntervalNs)
                        : interval_ns_ - interval_ns_ / kForgetting;
  changed_ = changed;
  stood_ = false;
}

std::int64_t EnergyMeter::shortest_window_ns() const {
  return std::max(kIntervals * interval_ns_, kShortestWindowNs);
}

const EnergyReading* EnergyMeter::window_start(std::int64_t end_ns) const {
  for (const EnergyReading* start : {&last_, &newer_, &older_}) {
    if (end_ns - start->at_ns >= shortest_window_ns()) {
      return start;
    }
  }
  return nullptr;
}

/// Of a window that holds one wrap at most.
std::optional<double> EnergyMeter::power_w(const EnergyReading& from,
                                           const EnergyReading& to) const {
  long long gained_uj = to.energy_uj - from.energy_uj;
  if (gained_uj < 0 && limits_.range_uj > 0) {
    gained_uj += limits_.range_uj + 1;
  }
  const double window_ns = static_cast<double>(to.at_ns - from.at_ns);
  const double power = static_cast<double>(gained_uj) / window_ns * kWattsPerUjPerNs;
  if (gained_uj < 0 || power > limits_.most_w) {
    return std::nullopt;
  }
  return power;
}

}  // namespace linux_machine
