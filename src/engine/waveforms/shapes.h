#pragma once

#include <cstdint>
#include <optional>

#include "engine/waveforms/carrier.h"
#include "engine/waveforms/pulses.h"

/// Period `index` of a carrier, of `duty` (0 to 1).
Slot slot_at(const Carrier& carrier, std::uint64_t index, double duty);

/// Pulses of one duty, above 0 and below 1.
class ConstantDuty final : public Pulses {
 public:
  ConstantDuty(double carrier_hz, double duty)
      : carrier_(static_cast<long double>(carrier_hz)), duty_(duty) {}
  std::optional<Slot> slot(std::uint64_t index) const override;

 private:
  Carrier carrier_;
  double duty_;
};

/// The shapes of a wave, from 0 up to 1 and back.
enum class Shape { sinusoid, triangle };

/// The level of a shape, 0 to 1, at place `index` (0 and up, below `slots`) of a wave that is
/// `slots` long.
double shape_level(Shape shape, double index, double slots);

/// Pulses whose duty follows a wave of `shape_hz` between `low` and `low` + `depth`.
class ShapedDuty final : public Pulses {
 public:
  /// Requires: frequencies that check_frequency() takes, duties within 0 to 1.
  ShapedDuty(Shape shape, double carrier_hz, double shape_hz, double low, double depth);
  std::optional<Slot> slot(std::uint64_t index) const override;

 private:
  Shape shape_;
  double slots_;  ///< of a wave: whole, at least 1
  double low_;
  double depth_;
  Carrier carrier_;
};

/// On for ever, or off for ever. The timing thread is kept asleep for a hundred years at a time.
class HeldLevel final : public IntervalSource {
 public:
  explicit HeldLevel(bool on) : switched_(on) {}
  std::optional<std::int64_t> next_ns() override;

 private:
  bool switched_;  ///< to what it is for ever
};
