#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "machines/linux/fans/channel.h"
#include "machines/linux/fans/curve.h"
#include "machines/linux/fans/fan_survey.h"
#include "machines/linux/sysfs/result.h"

/// Measured curves on disk: one file for each fan, named after its device, chip and channel.
///
///   vorn fan curve 1
///   device devices/platform/nct6775.656
///   chip nct6779
///   fan 2
///   stops-and-starts yes
///   start-pwm 70
///   48 620
///   255 1980
///
/// The last lines are points: pwm and RPM. Of a fan that did not turn when it was measured, the
/// file ends with its fifth line, "turns no".
namespace linux_machine {

std::string curve_text(const FanChannel& fan, const Curve& curve);

/// The curve in a text of `fan`; else says in `wrong` what is wrong with it.
std::optional<Curve> parse_curve(std::string_view text, const FanChannel& fan, std::string& wrong);

/// Where the curve of `fan` is kept.
std::string curve_path(const std::string& folder, const FanChannel& fan);

/// The text for a fan that does not turn at full speed.
std::string still_text(const FanChannel& fan);

/// None if the fan has not been measured, or did not turn. A file that cannot be read or used is a
/// failure that names the file and the remedy.
sysfs::Result<std::optional<Curve>> load_curve(const std::string& folder, const FanChannel& fan);

/// What the file of `fan` says of it; one that cannot be used, nothing.
Measured load_measured(const std::string& folder, const FanChannel& fan);

/// All that the folder says of the machine's fans.
KnownOfFans known_of_fans(const std::string& folder);

/// Keeps curve_text() or still_text(). Makes the folder if need be, and replaces the file as a
/// whole: a reader never sees half of it.
sysfs::Result<sysfs::Done> save_curve(const std::string& folder, const FanChannel& fan,
                                      const std::string& text);

}  // namespace linux_machine
