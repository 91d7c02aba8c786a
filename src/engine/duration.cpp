#include "engine/duration.h"

#include <cmath>
#include <limits>

#include "engine/decimal.h"
#include "engine/nanoseconds.h"

namespace engine {

namespace {

constexpr double kLeast = 1e-6;  // s, what the timer resolves

struct Unit {
  std::string_view name;
  double seconds;
};

constexpr Unit kUnits[] = {{"", 1.0},    {"s", 1.0},  {"ms", 1e-3},
                           {"us", 1e-6}, {"m", 60.0}, {"h", 3600.0}};

}  // namespace

Parsed<std::int64_t> parse_duration(std::string_view text) {
  const Parsed<Decimal> number = take_decimal(text);
  if (!number.value) {
    return Parsed<std::int64_t>::no(number.refused);
  }
  for (const Unit& unit : kUnits) {
    if (text != unit.name) {
      continue;
    }
    const double seconds =
        (static_cast<double>(number.value->whole) +
         static_cast<double>(number.value->billionths) / static_cast<double>(kNsPerSecond)) *
        unit.seconds;
    if (seconds < kLeast) {
      return Parsed<std::int64_t>::no("it is shorter than 1 us");
    }
    if (seconds > std::numeric_limits<std::int32_t>::max()) {
      return Parsed<std::int64_t>::no("it is longer than 2147483647 s");
    }
    // Whole and fraction each for itself: a double has no room for both to the nanosecond.
    return {std::llround(static_cast<double>(number.value->whole) * unit.seconds * kNsPerSecond) +
                std::llround(static_cast<double>(number.value->billionths) * unit.seconds),
            {}};
  }
  return Parsed<std::int64_t>::no("\"" + std::string(text) + "\" is no unit of time");
}

}  // namespace engine
