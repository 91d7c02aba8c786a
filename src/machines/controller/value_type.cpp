#include "machines/controller/value_type.h"

#include <algorithm>
#include <cmath>

namespace controller {
namespace {

constexpr std::uint32_t kSignBit = 0x8000;

}  // namespace

std::uint32_t ValueType::encode(double value) const {
  const double most = most_steps;
  const double exact = value * steps_per_unit;
  if (!has_sign || exact > -0.5) {
    const auto halves = static_cast<std::uint64_t>(2 * std::clamp(exact, 0.0, most));
    return static_cast<std::uint32_t>((halves + 1) / 2);  // to the nearest
  }
  // The fraction is always added, so it counts up from the integer below.
  const double least = steps_per_unit - 1 - most;  // the greatest integer part, negative
  const double steps = std::round(std::max(exact, least));
  const double below = std::floor(steps / steps_per_unit);
  const double fraction = steps - below * steps_per_unit;
  return kSignBit | static_cast<std::uint32_t>(fraction - below * steps_per_unit);
}

double ValueType::decode(std::uint32_t stored) const {
  if (!has_sign || (stored & kSignBit) == 0) {
    return stored / steps_per_unit;
  }
  const double magnitude = (stored & most_steps) / steps_per_unit;
  const double whole = std::floor(magnitude);
  return (magnitude - whole) - whole;
}

}  // namespace controller
