#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "machines/linux/fans/chips.h"
#include "machines/linux/hwmon/plausible.h"
#include "machines/linux/sysfs/result.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// A processor or chassis fan that can be read: one channel of a hwmon device.
struct FanChannel {
  std::string folder;   ///< of the hwmon device, where it really is; its number changes
  std::string device;   ///< the device that it belongs to: a path that stays the same
  std::string chip;     ///< the device's name
  int channel = 0;      ///< n of fann_input and pwmn
  std::string label;    ///< empty if it has none
  std::string refusal;  ///< why it cannot be forced, naming the attribute; empty if it can

  bool controllable() const { return refusal.empty(); }
  bool is_pump() const;       ///< by its label; a pump must never be stopped
  bool is_of_others() const;  ///< by its label: a graphics card's fan, or a meter of water flow
  const Chip& kind() const { return chip_named(chip); }

  // Its attributes' paths.
  std::string input() const { return fan("_input"); }
  std::string target() const { return fan("_target"); }
  std::string most() const { return fan("_max"); }
  std::string least() const { return fan("_min"); }
  std::string pwm() const { return folder + "/pwm" + std::to_string(channel); }
  std::string enable() const;

 private:
  bool label_says(std::initializer_list<std::string_view> words) const;
  std::string fan(const char* attribute) const {
    return folder + "/fan" + std::to_string(channel) + attribute;
  }
};

/// As many fans as a controller has keys for.
constexpr std::size_t kMostFans = 3;

/// The machine's fans, kMostFans at most: first those that can be controlled, whatever device they
/// belong to; among them first those that turn or that `has_curve` knows; then by device and
/// channel. Graphics cards', power supplies' and a laptop's graphics fans are not among them, nor
/// are meters of a water flow.
std::vector<FanChannel> find_fans(sysfs::Tree& tree,
                                  const std::function<bool(const FanChannel&)>& has_curve);

/// What fanN_input says, RPM: 0 and -1 are a fan at rest, other values below 0 and above
/// kMostRpm are nonsense.
sysfs::Result<double> speed_said(const std::string& path, long long value);

}  // namespace linux_machine
