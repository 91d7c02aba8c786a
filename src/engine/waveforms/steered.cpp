#include "engine/waveforms/steered.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "engine/waveforms/shapes.h"

// Whether the load is switched where a period begins depends on what is said until then. So an
// interval that ends there is asked at its end whether it ends in an edge, and that look is what
// the next period is made of: a line that comes between the two questions waits for a period.
//
// A swing is read off at the beginning of each period. It does not bend the carrier, as the swing
// of a waveform does that is known beforehand: the periods stay where they are, and a wave need not
// be a whole number of them.

namespace engine {

namespace {

double checked(double carrier_hz) {
  check_frequency("a carrier", carrier_hz);
  return carrier_hz;
}

}  // namespace

SteeredSource::SteeredSource(double carrier_hz)
    : carrier_hz_(checked(carrier_hz)), carrier_(static_cast<long double>(carrier_hz)) {}

double SteeredSource::duty() const {
  using What = Steering::What;
  if (steering_.what == What::duty || steering_.what == What::end) {
    return steering_.offset;
  }
  if (steering_.what == What::sines) {
    return sum_of_sines();
  }
  const long double periods =
      static_cast<long double>(carrier_hz_) / static_cast<long double>(steering_.hz);  // of a wave
  const auto in_wave =
      static_cast<double>(std::fmod(static_cast<long double>(period_ - since_), periods));
  const Shape shape = steering_.what == What::sinusoid ? Shape::sinusoid : Shape::triangle;
  const double level = shape_level(shape, in_wave, static_cast<double>(periods));
  return std::clamp(steering_.offset + steering_.depth * level, 0.0, 1.0);
}

double SteeredSource::sum_of_sines() const {
  double duty = steering_.offset;
  for (std::size_t at = 0; at < steering_.sine_count; ++at) {
    const Steering::Sine& sine = steering_.sines[at];
    const long double waves = static_cast<long double>(period_ - since_) *
                              static_cast<long double>(sine.hz) /
                              static_cast<long double>(carrier_hz_);
    const auto in_wave = static_cast<double>(std::fmod(waves, 1.0L));
    duty += sine.amplitude * std::cos(2 * std::numbers::pi * (in_wave + sine.degrees / 360));
  }
  return std::clamp(duty, 0.0, 1.0);
}

Slot SteeredSource::slot() const {
  return slot_at(carrier_, period_, duty());
}

/// Decides what the period is that comes next, as things stand.
void SteeredSource::look() {
  if (steering_.what != Steering::What::end && said_.take(steering_)) {
    replaced_ = true;
    since_ = period_;
  }
  slot_ = slot();
  looked_ = true;
}

bool SteeredSource::ends_in_edge() {
  if (end_ == End::on_part) {
    return true;
  }
  if (end_ != End::period) {
    return false;
  }
  look();
  if (steering_.what == Steering::What::end) {
    return false;
  }
  return (slot_.on_end > slot_.begin) != on_;
}

std::optional<std::int64_t> SteeredSource::next_ns() {
  switch (end_) {
    case End::nothing:
      end_ = End::begin;
      return 0;
    case End::begin:
      end_ = End::period;
      return 0;
    case End::on_part:
      on_ = false;
      end_ = End::period;
      ++period_;
      looked_ = false;
      return slot_.end - slot_.on_end;
    case End::period:
      break;
  }
  if (!looked_) {
    look();
  }
  if (steering_.what == Steering::What::end) {
    return std::nullopt;
  }
  return begin_period();
}

std::int64_t SteeredSource::begin_period() {
  if (std::exchange(replaced_, false)) {
    effective_ = steering_;
  }
  on_ = slot_.on_end > slot_.begin;
  looked_ = false;
  if (on_ && slot_.on_end < slot_.end) {
    end_ = End::on_part;
    return slot_.on_end - slot_.begin;
  }
  ++period_;
  return slot_.end - slot_.begin;
}

std::optional<Steering> SteeredSource::take_effective() {
  return std::exchange(effective_, std::nullopt);
}

}  // namespace engine
