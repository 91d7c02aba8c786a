#include "vorn/toggle_schedule.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "Assertion/assertion.h"
#include "vorn/module.h"
#include "vorn/numbers.h"
#include "vorn/settings.h"

// Time is cut into equal slots, one for each PWM period, and in each the load is on for a fraction
// of it, the level. A shaped wave gets a whole number of slots, so the slot is stretched or
// shortened until it divides the wave; a wave faster than the PWM gets a single slot, at level 0.
//
// On and off are rounded to microseconds each for itself, so a pair may miss its slot by one
// microsecond. That error stays here: ToggleSource stretches the intervals to the wave.

namespace {

constexpr double kTwoPi = 6.283185307179586;

/// How a wave divides into slots.
struct Slots {
  double count;   // whole, at least 1
  double length;  // seconds
};

Slots divide(double wave, double slot) {
  if (slot > wave) {
    slot = wave;
  }
  const double count = std::rint(wave / slot);
  return {count, wave / count};
}

unsigned microseconds(double seconds) {
  return to_uint32(std::rint(1e6 * seconds));
}

void append_slot(std::vector<unsigned>& times, double level, double slot, int line) {
  assertion(level >= 0., "level >= 0.", kDriverModule, line, "toggle_times");
  assertion(level <= 1., "level <= 1.", kDriverModule, line + 1, "toggle_times");
  times.push_back(microseconds(level * slot));
  times.push_back(microseconds((1.0 - level) * slot));
}

double append_square(std::vector<unsigned>& times) {
  times.insert(times.end(), 2, to_uint32(std::rint(500000.0 / frequency)));
  return 1.0 / frequency;
}

/// Appends a slot for each index of `slots` at `level(index)`. A run that ends meanwhile does not
/// wait for the rest: a schedule may have millions of slots.
template <typename Level>
double append_slots(std::vector<unsigned>& times, const Slots& slots, int line, Level level) {
  times.reserve(times.size() + 2 * std::size_t{to_uint32(slots.count)});
  for (std::uint32_t slot = 0; slot < slots.count && !params.terminate; ++slot) {
    append_slot(times, level(static_cast<double>(slot)), slots.length, line);
  }
  return slots.length;
}

Slots sinusoid_slots() {
  return divide(1.0 / sinusoid, 1.0 / frequency);
}

Slots triangle_slots() {
  return divide(1.0 / triangle, 1.0 / frequency);
}

double append_sinusoid(std::vector<unsigned>& times) {
  const Slots slots = sinusoid_slots();
  return append_slots(times, slots, 979, [&slots](double i) {
    return 0.5 + std::cos(kTwoPi * i / slots.count) * -0.5;
  });
}

double append_triangle(std::vector<unsigned>& times) {
  const Slots slots = triangle_slots();
  const double half = slots.count / 2.0;  // not rounded: an odd count peaks between two slots
  return append_slots(times, slots, 1003, [&slots, half](double i) {
    return half > i ? i / half : 1.0 - (i - half) / (slots.count - half);
  });
}

}  // namespace

bool using_pwm_sinusoid() {
  return using_timing_thread() && sinusoid > 0.0;
}

bool using_pwm_triangle() {
  return using_timing_thread() && triangle > 0.0 && !using_pwm_sinusoid();
}

double toggle_count() {
  if (!using_pwm_sinusoid() && !using_pwm_triangle()) {
    return 2;
  }
  const double slots = (using_pwm_sinusoid() ? sinusoid_slots() : triangle_slots()).count;
  return std::isnan(slots) ? 0 : 2 * slots;  // a wave without length has none
}

double toggle_times(std::vector<unsigned>& times) {
  if (using_pwm_sinusoid()) {
    return append_sinusoid(times);
  }
  if (using_pwm_triangle()) {
    return append_triangle(times);
  }
  return append_square(times);
}
