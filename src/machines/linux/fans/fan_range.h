#pragma once

#include <optional>
#include <string>

#include "machines/linux/fans/channel.h"
#include "machines/linux/fans/curve.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// What speeds a fan can have, RPM, as far as that is known: by limits of its chip, by its measured
/// curve, or by a maximum that was measured in this run. Thread: one at a time.
class FanRange {
 public:
  /// Reads what the chip and the curve's file say.
  FanRange(const Surroundings& surroundings, const FanChannel& channel);

  /// The chip's own, else the curve's lowest steady speed.
  std::optional<double> lowest_rpm() const;

  /// The chip's own or the measured one, else the curve's; none: it has to be measured.
  std::optional<double> greatest_rpm() const;
  void set_measured(double greatest_rpm) { greatest_ = greatest_rpm; }

  /// What the fan can follow a target to: the curve's end, before anything else.
  double followed_to_rpm() const;

  /// Whether a chip that holds targets would have to hold one that its curve says cannot be held.
  bool is_below_curve(double rpm) const { return curve_ && rpm < curve_->lowest_rpm(); }

  /// By which it is driven by pwm. Requires: greatest_rpm() is known.
  Curve curve() const;

  /// What is wrong with the curve's file, the first time; then empty.
  std::string complaint();

 private:
  std::optional<double> lowest_;    ///< the chip's own
  std::optional<double> greatest_;  ///< the chip's own, or measured in this run
  std::optional<Curve> curve_;      ///< measured before
  std::string complaint_;
};

}  // namespace linux_machine
