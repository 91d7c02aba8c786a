#include "machines/linux/sensors/energy_meter.h"

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

namespace linux_machine {
namespace {

constexpr std::int64_t kShortestWindowNs = 50'000'000;
constexpr std::int64_t kLongestStandstillNs = 1'000'000'000;
constexpr double kWattsPerUjPerNs = 1000;

}  // namespace

EnergyMeter::Taken EnergyMeter::take(const EnergyReading& reading) {
  if (!begun_) {
    return begin_with(reading, Outcome::too_early);
  }
  const EnergyReading* const from = window_start(reading.at_ns);
  if (from == nullptr) {
    return {Outcome::too_early};
  }
  if (reading.energy_uj == from->energy_uj) {
    return unmoved(reading, *from);
  }
  const std::optional<double> power = power_w(*from, reading);
  if (!power) {
    return begin_with(reading, Outcome::rejected);
  }
  if (reading.at_ns - newer_.at_ns >= kShortestWindowNs) {
    older_ = *from;
    newer_ = reading;
  }
  last_ = reading;
  last_power_w_ = power;
  return {Outcome::measured, *power};
}

EnergyMeter::Taken EnergyMeter::begin_with(const EnergyReading& reading, Outcome outcome) {
  begun_ = true;
  last_ = newer_ = older_ = reading;
  last_power_w_.reset();
  ready_at_ns_ = reading.at_ns + kShortestWindowNs;
  return {outcome};
}

EnergyMeter::Taken EnergyMeter::unmoved(const EnergyReading& reading, const EnergyReading& from) {
  if (reading.at_ns - from.at_ns >= kLongestStandstillNs) {
    return {Outcome::stuck};
  }
  if (last_power_w_) {
    return {Outcome::measured, *last_power_w_};
  }
  ready_at_ns_ = reading.at_ns + kShortestWindowNs;
  return {Outcome::too_early};
}

const EnergyReading* EnergyMeter::window_start(std::int64_t end_ns) const {
  for (const EnergyReading* start : {&last_, &newer_, &older_}) {
    if (end_ns - start->at_ns >= kShortestWindowNs) {
      return start;
    }
  }
  return nullptr;
}

std::optional<double> EnergyMeter::power_w(const EnergyReading& from,
                                           const EnergyReading& to) const {
  const double window_ns = static_cast<double>(to.at_ns - from.at_ns);
  const double range_uj = static_cast<double>(limits_.range_uj);
  if (limits_.range_uj > 0 && window_ns > range_uj / limits_.most_w * kWattsPerUjPerNs) {
    return std::nullopt;
  }
  long long gained_uj = to.energy_uj - from.energy_uj;
  if (gained_uj < 0 && limits_.range_uj > 0) {
    gained_uj += limits_.range_uj + 1;
  }
  const double power = static_cast<double>(gained_uj) / window_ns * kWattsPerUjPerNs;
  if (gained_uj < 0 || power > limits_.most_w) {
    return std::nullopt;
  }
  return power;
}

}  // namespace linux_machine
