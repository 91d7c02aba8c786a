#pragma once

#include <optional>
#include <string_view>

namespace linux_machine {

/// What is known of the fans behind one kind of hwmon device, and differs from kind to kind. What
/// is not known otherwise is as the kernel's hwmon interface describes it: 0 full speed, 1 manual,
/// 2 and more automatic.
struct Chip {
  enum class Fans { ours, of_another_device };

  int manual_mode = 1;  ///< of pwmN_enable
  std::optional<int> target_mode =
      {};                          ///< of pwmN_enable, while the chip holds fanN_target by itself
  bool zero_is_full_speed = true;  ///< what pwmN_enable 0 means; else the fan stands
  bool real_range = false;         ///< fanN_max and fanN_min are what the fan can do, not alarms
  bool one_switch = false;         ///< pwm1_enable may switch all fans, and be unreadable
  bool slow = false;               ///< it stalls the machine when it is read
  bool built_in = false;           ///< of the machine as it was made: no header that may be empty
  int view = 0;  ///< above 0: shows fans that drivers with a lower one may show as well
  bool takes_firmware_mode = false;  ///< kFirmwareMode can be left, and written to give it back
  Fans fans = Fans::ours;            ///< a graphics card's or power supply's are left to it
  std::string_view refusal = {};     ///< why the fans cannot be forced; empty if they can
};

/// What pwmN_enable reads where the firmware keeps the fan to itself.
inline constexpr long long kFirmwareMode = 99;

/// By the device's `name` attribute.
const Chip& chip_named(std::string_view name);

/// Whether `shown`, as read from pwmN_enable, is the mode `wanted`: a chip whose mode 0 is full
/// speed may show manual control at pwm 255 as 0.
bool is_mode(const Chip& chip, long long shown, int wanted);

}  // namespace linux_machine
