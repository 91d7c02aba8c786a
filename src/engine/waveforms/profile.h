#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/waveforms/carrier.h"
#include "engine/waveforms/pulses.h"
#include "engine/waveforms/waveforms.h"

/// A duty over time, given by points. Made whole; never changes.
class Profile {
 public:
  enum class Between {
    steps,  ///< a point's duty holds until the next point
    lines,  ///< the duty goes straight from point to point
  };
  struct Point {
    double time_s;
    double duty;
  };

  /// Requires: two points at least, the first at time 0, times ascending, duties from 0 to 1.
  Profile(Between between, const std::vector<Point>& points);

  /// The time of the last point.
  double length_s() const { return knots_.back().time_s; }

  /// The integral of the duty from 0 to `time_s`, which is brought into the profile: the time in
  /// seconds that a load is on until then.
  long double on_time_s(long double time_s) const;

  /// Until when the duty is 0 throughout from `time_s` on, or 1 throughout; `time_s` if neither.
  long double held_until_s(long double time_s) const;

 private:
  /// A point, and the integral up to it.
  struct Knot {
    double time_s;
    double duty;
    double on_time_s;
  };

  /// The index of the knot that the stretch around `time_s` begins with.
  std::size_t stretch_at(long double time_s) const;
  /// The duty at the end of the stretch that begins with knot `index`.
  double end_duty(std::size_t index) const;

  Between between_;
  std::vector<Knot> knots_;
};

/// Reads a profile; docs/waveforms.md has its form. Throws WaveformError.
Profile read_profile(const std::string& path);

/// Pulses whose duty follows a profile. The on time of a slot is the integral of the profile over
/// it, so that no part of the profile is lost between two slots.
class ProfileDuty final : public Pulses {
 public:
  ProfileDuty(double carrier_hz, Profile profile, Playing playing);
  std::optional<Slot> slot(std::uint64_t index) const override;
  std::uint64_t next_to_look_at(std::uint64_t index) const override;

 private:
  long double on_time_s(long double time_s) const;

  Carrier carrier_;
  Profile profile_;
  Playing playing_;
  std::int64_t length_ns_;
};
