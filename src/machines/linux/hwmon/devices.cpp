#include "machines/linux/hwmon/devices.h"

#include <algorithm>
#include <utility>

#include "machines/linux/hwmon/natural_order.h"
#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

std::string text_or_nothing(sysfs::Tree& tree, const std::string& path) {
  const sysfs::Result<std::string> text = sysfs::read_text(tree, path);
  return text ? *text : std::string();
}

HwmonDevice describe(sysfs::Tree& tree, const std::string& link) {
  HwmonDevice found;
  found.device = tree.real_path((link + "/device").c_str());
  found.folder = tree.real_path(link.c_str());
  found.name = text_or_nothing(tree, found.folder + "/name");
  if (found.name.empty() && !found.device.empty()) {
    // Very old drivers have their attributes in the device's own folder.
    if (std::string name = text_or_nothing(tree, found.device + "/name"); !name.empty()) {
      found.name = std::move(name);
      found.folder = found.device;
    }
  }
  return found;
}

bool comes_before(const HwmonDevice& a, const HwmonDevice& b) {
  return a.device != b.device ? natural_less(a.device, b.device) : natural_less(a.name, b.name);
}

}  // namespace

std::vector<HwmonDevice> find_hwmon(sysfs::Tree& tree) {
  std::vector<HwmonDevice> devices;
  for (const std::string& number : sysfs::list(tree, "class/hwmon")) {
    HwmonDevice found = describe(tree, "class/hwmon/" + number);
    if (!found.name.empty()) {
      devices.push_back(std::move(found));
    }
  }
  std::stable_sort(devices.begin(), devices.end(), comes_before);
  return devices;
}

std::vector<HwmonInput> find_inputs(sysfs::Tree& tree, const HwmonDevice& device,
                                    std::string_view kind) {
  std::vector<HwmonInput> inputs;
  for (const std::string& name : sysfs::list(tree, device.folder)) {
    if (const auto channel = sysfs::channel_of(name, kind, "_input")) {
      const std::string stem = device.folder + "/" + std::string(kind) + std::to_string(*channel);
      inputs.push_back(
          {*channel, text_or_nothing(tree, stem + "_label"), device.folder + "/" + name});
    }
  }
  std::sort(inputs.begin(), inputs.end(),
            [](const HwmonInput& a, const HwmonInput& b) { return a.channel < b.channel; });
  return inputs;
}

}  // namespace linux_machine
