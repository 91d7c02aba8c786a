#include "machines/linux/fans/channel.h"

#include <algorithm>
#include <cctype>

namespace linux_machine {

bool FanChannel::is_pump() const {
  return label_says({"pump", "aio"});
}

bool FanChannel::is_of_others() const {
  return label_says({"video", "gpu", "graphics", "vga", "flow"});
}

bool FanChannel::is_of_processor_or_chassis() const {
  return label_says({"cpu", "processor", "cha", "case", "sys"}) && !is_pump();
}

bool FanChannel::label_says(std::initializer_list<std::string_view> words) const {
  std::string lower = label;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return std::any_of(words.begin(), words.end(),
                     [&](std::string_view word) { return lower.find(word) != std::string::npos; });
}

std::string FanChannel::enable() const {
  return folder + "/pwm" + std::to_string(shares_switch ? 1 : channel) + "_enable";
}

sysfs::Result<double> speed_said(const std::string& path, long long value) {
  if (!is_fan_speed(value)) {
    return sysfs::nonsense(path, std::to_string(value) + " RPM is no speed of a fan");
  }
  return static_cast<double>(std::max(value, 0LL));
}

}  // namespace linux_machine
