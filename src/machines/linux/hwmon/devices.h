#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// One of the kernel's hardware monitors.
struct HwmonDevice {
  std::string name;    ///< of the chip or driver
  std::string device;  ///< what it belongs to, links followed
  std::string folder;  ///< of its attributes, links followed
};

/// All of them, in an order that does not depend on their numbers, which change between boots.
std::vector<HwmonDevice> find_hwmon(sysfs::Tree& tree);

/// One measured quantity of a monitor.
struct HwmonInput {
  int channel = 0;
  std::string label;      ///< empty if it has none
  std::string attribute;  ///< <kind><channel>_input
};

/// Those of a kind ("temp", "power", "energy"), by channel.
std::vector<HwmonInput> find_inputs(sysfs::Tree& tree, const HwmonDevice& device,
                                    std::string_view kind);

}  // namespace linux_machine
