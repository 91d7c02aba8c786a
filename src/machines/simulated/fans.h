#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The three fans of the simulated machine and the controller's register that forces them.
namespace simulated {

struct FanRange {
  double least_rpm;  ///< what automatic control does not go below; a forced fan may
  double most_rpm;   ///< what no fan goes above
};

inline constexpr std::array<FanRange, 3> kFans = {{{800, 5200}, {600, 4400}, {600, 3800}}};

inline constexpr double kFanTimeConstantS = 1.5;
inline constexpr double kAutomaticFromC = 35;  ///< sink temperature up to which fans stay least
inline constexpr double kAutomaticToC = 65;    ///< sink temperature from which fans are at most
inline constexpr double kStandstillRpm = 60;   ///< below it, friction stops a fan that is told 0

/// What automatic control asks of `fan` at this sink temperature: least to most, in a line.
double automatic_rpm(std::size_t fan, double sink_c);

/// The fans' state. Begins at the least speed, no fan forced, every target the least speed.
/// Requires everywhere: `fan` < kFans.size().
class Fans {
 public:
  Fans();

  double speed_rpm(std::size_t fan) const { return speed_[fan]; }

  /// The written target: kept as written, whatever the force bit. A forced fan heads for it, but
  /// not beyond its maximum.
  double target_rpm(std::size_t fan) const { return target_[fan]; }
  void set_target_rpm(std::size_t fan, double rpm) { target_[fan] = rpm; }

  /// Bit n forces fan n. The bits of fans that do not exist are kept and mean nothing.
  std::uint16_t force_bits() const { return force_bits_; }
  void set_force_bits(std::uint16_t bits) { force_bits_ = bits; }

  /// Speeds of all fans together as a part of what they reach at most, 0 to 1.
  double air_flow() const;

  /// Lets the fans turn for `dt_s` seconds at this sink temperature.
  void step(double sink_c, double dt_s);

 private:
  double wanted_rpm(std::size_t fan, double sink_c) const;

  std::array<double, kFans.size()> speed_{};
  std::array<double, kFans.size()> target_{};
  std::uint16_t force_bits_ = 0;
};

}  // namespace simulated
