#include "engine/waveforms/shapes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr std::int64_t kHundredYearsNs = std::int64_t{100} * 365 * 24 * 3600 * 1000000000;

/// The whole number of the carrier's periods that comes closest to filling a wave.
double slots_of_wave(double carrier_hz, double shape_hz) {
  const double wave_s = 1.0 / shape_hz;
  const double slot_s = std::min(1.0 / carrier_hz, wave_s);
  return std::rint(wave_s / slot_s);
}

}  // namespace

Slot slot_at(const Carrier& carrier, std::uint64_t index, double duty) {
  const auto begin = static_cast<long double>(index);
  return {.begin = carrier.instant_ns(begin),
          .on_end = carrier.instant_ns(begin + static_cast<long double>(duty)),
          .end = carrier.instant_ns(begin + 1)};
}

std::optional<Slot> ConstantDuty::slot(std::uint64_t index) const {
  return slot_at(carrier_, index, duty_);
}

ShapedDuty::ShapedDuty(Shape shape, double carrier_hz, double shape_hz, double low, double depth)
    : shape_(shape),
      slots_(slots_of_wave(carrier_hz, shape_hz)),
      low_(low),
      depth_(depth),
      carrier_(static_cast<long double>(shape_hz) * static_cast<long double>(slots_)) {}

std::optional<Slot> ShapedDuty::slot(std::uint64_t index) const {
  const double in_wave = static_cast<double>(index % static_cast<std::uint64_t>(slots_));
  const double duty = std::clamp(low_ + depth_ * shape_level(shape_, in_wave, slots_), 0.0, 1.0);
  return slot_at(carrier_, index, duty);
}

double shape_level(Shape shape, double index, double slots) {
  if (shape == Shape::sinusoid) {
    return 0.5 + std::cos(2 * std::numbers::pi * index / slots) * -0.5;
  }
  const double half = slots / 2.0;  // not rounded: an odd count peaks between two slots
  return half > index ? index / half : 1.0 - (index - half) / (slots - half);
}

std::optional<std::int64_t> HeldLevel::next_ns() {
  if (!switched_) {
    switched_ = true;
    return 0;
  }
  return kHundredYearsNs;
}
