#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "machines/linux/fans/chips.h"
#include "machines/linux/hwmon/plausible.h"
#include "machines/linux/sysfs/result.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// A processor or chassis fan that can be read: one channel of a hwmon device.
struct FanChannel {
  std::string folder;  ///< of the hwmon device, where it really is; its number changes
  std::string device;  ///< the device that it belongs to: a path that stays the same
  std::string chip;    ///< the device's name
  int channel = 0;     ///< n of fann_input and pwmn
  std::string label;   ///< empty if it has none

  /// Whether a fan is there at all.
  enum class Connection {
    certain,   ///< it turns, or was measured, or the machine was made with it
    doubtful,  ///< it stands still, and nothing proves that it can turn
    none,      ///< it did not turn when it was measured, and still does not
  };
  Connection connection = Connection::certain;
  bool is_assigned = false;    ///< a user has given it its number
  bool shares_switch = false;  ///< pwm1_enable switches all fans of the chip, and cannot be read
  bool measurable = false;     ///< its pwm can be set, so that its curve can be measured
  std::string refusal;         ///< why it cannot be forced, naming the attribute; empty if it can

  bool controllable() const { return refusal.empty(); }
  bool is_pump() const;       ///< by its label; a pump must never be stopped
  bool is_of_others() const;  ///< by its label: a graphics card's fan, or a meter of water flow
  bool is_of_processor_or_chassis() const;  ///< by its label, and no pump
  const Chip& kind() const { return chip_named(chip); }

  // Its attributes' paths.
  std::string input() const { return fan("_input"); }
  std::string target() const { return fan("_target"); }
  std::string greatest() const { return fan("_max"); }
  std::string lowest() const { return fan("_min"); }
  std::string pwm() const { return folder + "/pwm" + std::to_string(channel); }
  std::string enable() const;

 private:
  bool label_says(std::initializer_list<std::string_view> words) const;
  std::string fan(const char* attribute) const {
    return folder + "/fan" + std::to_string(channel) + attribute;
  }
};

/// What fanN_input says, RPM: 0 and -1 are a fan at rest, other values below 0 and above
/// kMostRpm are nonsense.
sysfs::Result<double> speed_said(const std::string& path, long long value);

}  // namespace linux_machine
