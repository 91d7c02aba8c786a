#pragma once

#include <cstdint>
#include <optional>

namespace linux_machine {

/// An energy counter at a moment.
struct EnergyReading {
  std::int64_t at_ns = 0;
  long long energy_uj = 0;
};

/// What is known about a counter beforehand.
struct EnergyCounterLimits {
  long long range_uj = 0;  ///< it begins anew after this; 0: it never does, or nobody knows when
  double most_w = 0;       ///< no power beyond this can be
};

/// Makes powers of the readings of one counter, see energy_meter.cpp. Reads nothing itself.
/// Thread: one at a time.
class EnergyMeter {
 public:
  enum class Outcome {
    measured,   ///< `power_w` is the mean power up to this reading
    too_early,  ///< another reading is needed, at ready_at_ns() or later
    too_rare,   ///< it may have wrapped twice since; measuring has begun anew with this reading
    rejected,   ///< no processor is like that; measuring has begun anew with this reading
    stuck,      ///< the counter has not moved for a second or more
  };
  struct Taken {
    Outcome outcome;
    double power_w = 0;
  };

  explicit EnergyMeter(const EnergyCounterLimits& limits);

  /// Requires: no earlier than the reading before.
  Taken take(const EnergyReading& reading);

  /// The next reading can be measured from then on.
  std::int64_t ready_at_ns() const { return ready_at_ns_; }

  /// Readings further apart than this are too rare.
  std::int64_t longest_window_ns() const { return longest_window_ns_; }

 private:
  Taken begin_with(const EnergyReading& reading, Outcome outcome);
  Taken unmoved(const EnergyReading& reading);
  Taken not_yet(std::int64_t ready_at_ns);
  void learn_interval(const EnergyReading& changed);
  std::int64_t shortest_window_ns() const;
  const EnergyReading* window_start(std::int64_t end_ns) const;
  std::optional<double> power_w(const EnergyReading& from, const EnergyReading& to) const;

  EnergyCounterLimits limits_;
  std::int64_t longest_window_ns_;
  bool begun_ = false;
  EnergyReading last_;            // the reading measured last
  EnergyReading newer_;           // the younger anchor of sliding windows
  EnergyReading older_;           // the older one
  EnergyReading changed_;         // the first one with the energy that the counter showed last
  bool stood_ = false;            // a reading since then has found it unchanged
  std::int64_t interval_ns_ = 0;  // between changes; little if readings always find it moved
  std::optional<double> last_power_w_;
  std::int64_t ready_at_ns_ = 0;
};

}  // namespace linux_machine
