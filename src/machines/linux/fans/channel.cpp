#include "machines/linux/fans/channel.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <tuple>
#include <utility>

#include "machines/linux/hwmon/devices.h"
#include "machines/linux/sysfs/attribute.h"

namespace linux_machine {
namespace {

/// "devices/platform/nct6775.656" of "devices/platform/nct6775.656/hwmon/hwmon3".
std::string without_number(const std::string& folder) {
  std::filesystem::path path(folder);
  if (path.filename().string().starts_with("hwmon")) {
    path = path.parent_path();
  }
  return path.filename() == "hwmon" ? path.parent_path() : path;
}

std::string why_not(sysfs::Tree& tree, const FanChannel& fan) {
  const Chip& kind = fan.kind();
  if (!kind.refusal.empty()) {
    return fan.input() + ": " + std::string(kind.refusal) + " (" + fan.chip + ")";
  }
  if (!sysfs::exists(tree, fan.pwm())) {
    return fan.input() + ": there is no " + fan.pwm() + " to set its speed with";
  }
  if (!sysfs::exists(tree, fan.enable())) {
    return fan.input() + ": there is no " + fan.enable() + " to give it back with";
  }
  if (kind.one_switch) {
    return {};
  }
  const sysfs::Result<long long> mode = sysfs::read_integer(tree, fan.enable());
  return mode && *mode == kFirmwareMode ? fan.enable() + ": the firmware keeps it to itself"
                                        : std::string();
}

struct Found {
  FanChannel fan;
  bool comes_first;
};

void find_in(sysfs::Tree& tree, const HwmonDevice& device,
             const std::function<bool(const FanChannel&)>& has_curve, std::vector<Found>& found) {
  if (chip_named(device.name).fans == Chip::Fans::of_another_device) {
    return;
  }
  for (HwmonInput& input : find_inputs(tree, device, "fan")) {
    FanChannel fan{.folder = device.folder,
                   .device = without_number(device.folder),
                   .chip = device.name,
                   .channel = input.channel,
                   .label = std::move(input.label),
                   .refusal = ""};
    const sysfs::Result<long long> value = sysfs::read_integer(tree, fan.input());
    if (!value || fan.is_of_others()) {
      continue;  // one that cannot be read is none of ours
    }
    const sysfs::Result<double> rpm = speed_said(fan.input(), *value);
    fan.refusal = why_not(tree, fan);
    const bool turns = rpm && *rpm > 0;
    found.push_back({std::move(fan), turns});
    found.back().comes_first = turns || has_curve(found.back().fan);
  }
}

}  // namespace

bool FanChannel::is_pump() const {
  return label_says({"pump", "aio"});
}

bool FanChannel::is_of_others() const {
  return label_says({"video", "gpu", "graphics", "vga", "flow"});
}

bool FanChannel::label_says(std::initializer_list<std::string_view> words) const {
  std::string lower = label;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return std::any_of(words.begin(), words.end(),
                     [&](std::string_view word) { return lower.find(word) != std::string::npos; });
}

std::string FanChannel::enable() const {
  return folder + "/pwm" + std::to_string(kind().one_switch ? 1 : channel) + "_enable";
}

std::vector<FanChannel> find_fans(sysfs::Tree& tree,
                                  const std::function<bool(const FanChannel&)>& has_curve) {
  std::vector<Found> found;
  for (const HwmonDevice& device : find_hwmon(tree)) {
    find_in(tree, device, has_curve, found);
  }
  std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) {
    const auto rank = [](const Found& one) {
      return std::make_tuple(!one.fan.controllable(), !one.comes_first, std::cref(one.fan.device),
                             std::cref(one.fan.chip), one.fan.channel);
    };
    return rank(a) < rank(b);
  });
  std::vector<FanChannel> fans;
  for (Found& one : found) {
    if (fans.size() < kMostFans) {
      fans.push_back(std::move(one.fan));
    }
  }
  return fans;
}

sysfs::Result<double> speed_said(const std::string& path, long long value) {
  if (!is_fan_speed(value)) {
    return sysfs::nonsense(path, std::to_string(value) + " RPM is no speed of a fan");
  }
  return static_cast<double>(std::max(value, 0LL));
}

}  // namespace linux_machine
