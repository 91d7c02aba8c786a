#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "machines/linux/fans/channel.h"
#include "machines/linux/fans/curve.h"
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
/// The last lines are points: pwm and RPM.
namespace linux_machine {

std::string curve_text(const FanChannel& fan, const Curve& curve);

/// The curve in a text of `fan`; else says in `wrong` what is wrong with it.
std::optional<Curve> parse_curve(std::string_view text, const FanChannel& fan, std::string& wrong);

/// Where the curve of `fan` is kept.
std::string curve_path(const std::string& folder, const FanChannel& fan);

/// None if the fan has not been measured. A file that cannot be read or used is a failure that
/// names the file and the remedy.
sysfs::Result<std::optional<Curve>> load_curve(const std::string& folder, const FanChannel& fan);

/// Makes the folder if need be, and replaces the file as a whole: a reader never sees half of it.
sysfs::Result<sysfs::Done> save_curve(const std::string& folder, const FanChannel& fan,
                                      const Curve& curve);

}  // namespace linux_machine
