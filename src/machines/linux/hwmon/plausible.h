#pragma once

#include <string>

/// What sensors of a running machine can say, and what is worth watching. For those who measure,
/// and for those who watch.
namespace linux_machine {

/// Whether a value is a running processor's temperature. One that is switched on is warmer than
/// freezing, and has shut down long before 126. What sensors say that are off, unconnected or not
/// ready is outside: -44, 0, 127, 255.
constexpr bool is_processors_temperature(double celsius) {
  return celsius >= 1 && celsius <= 125;
}

/// What the controller's keys can say: their type ends at 16383.75.
constexpr long long kMostRpm = 16'383;

/// Whether a value is what a tachometer says; -1 is a fan at rest.
constexpr bool is_fan_speed(long long rpm) {
  return rpm >= -1 && rpm <= kMostRpm;
}

/// A processor's temperature that must stay below a limit while fans are forced.
struct WatchedTemperature {
  std::string attribute;  ///< in millidegrees, below the root
  double critical_c;      ///< where the processor begins to protect itself
};

}  // namespace linux_machine
