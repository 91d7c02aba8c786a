#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "machines/linux/fans/curve.h"
#include "machines/linux/guardian/ledger.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

struct FanChannel;

/// How far it is, 0 to 1, and what it does now.
using CalibrationProgress = std::function<void(double fraction, const std::string& text)>;

/// Measures the curve of `fan`, which takes one to three minutes and leaves it as it was, whatever
/// happens: its speeds from full pwm down to where it stops, and, unless it is a pump, whether it
/// stops at pwm 0 and starts again. Ends early if a temperature comes near to critical. None: it
/// does not turn at full speed.
///
/// Failures: refused without the effective user 0, unsupported for a fan that cannot be controlled
/// (one whose speed hardly changes included), held beside another program that controls fans,
/// given_back when it ended early, and those of the attributes. Thread: any, one at a time.
sysfs::Result<std::optional<Curve>> measure_curve(
    const Surroundings& surroundings, Ledger& ledger, const FanChannel& fan,
    const std::vector<WatchedTemperature>& temperatures, const CalibrationProgress& progress);

}  // namespace linux_machine
