#include "machines/linux/hwmon/devices.h"

#include <gtest/gtest.h>

#include "support/machine/memory_tree.h"

namespace linux_machine {
namespace {

TEST(HwmonDevices, StandByWhatTheyBelongToAndNotByTheirNumbers) {
  MemoryTree tree(
      "link class/hwmon/hwmon0 -> ../../devices/platform/coretemp.10/hwmon/hwmon0\n"
      "link class/hwmon/hwmon7 -> ../../devices/platform/coretemp.2/hwmon/hwmon7\n"
      "link devices/platform/coretemp.10/hwmon/hwmon0/device -> ../../../coretemp.10\n"
      "link devices/platform/coretemp.2/hwmon/hwmon7/device -> ../../../coretemp.2\n"
      "0444 devices/platform/coretemp.10/hwmon/hwmon0/name = coretemp\n"
      "0444 devices/platform/coretemp.2/hwmon/hwmon7/name = coretemp\n");
  const std::vector<HwmonDevice> devices = find_hwmon(tree);
  ASSERT_EQ(devices.size(), 2U);
  EXPECT_EQ(devices[0].device, "devices/platform/coretemp.2");
  EXPECT_EQ(devices[0].folder, "devices/platform/coretemp.2/hwmon/hwmon7");
  EXPECT_EQ(devices[1].device, "devices/platform/coretemp.10");
}

TEST(HwmonDevices, MayHaveTheirAttributesOnTheDeviceItself) {
  MemoryTree tree(
      "link class/hwmon/hwmon0 -> ../../devices/platform/f71882fg.2560/hwmon/hwmon0\n"
      "link devices/platform/f71882fg.2560/hwmon/hwmon0/device -> ../../../f71882fg.2560\n"
      "0444 devices/platform/f71882fg.2560/name = f71882fg\n"
      "0444 devices/platform/f71882fg.2560/fan2_input = 900\n");
  const std::vector<HwmonDevice> devices = find_hwmon(tree);
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices[0].name, "f71882fg");
  EXPECT_EQ(devices[0].folder, "devices/platform/f71882fg.2560");
  const std::vector<HwmonInput> fans = find_inputs(tree, devices[0], "fan");
  ASSERT_EQ(fans.size(), 1U);
  EXPECT_EQ(fans[0].attribute, "devices/platform/f71882fg.2560/fan2_input");
}

TEST(HwmonDevices, WithoutANameAreLeftOut) {
  MemoryTree tree(
      "link class/hwmon/hwmon0 -> ../../devices/x/hwmon/hwmon0\n"
      "0444 devices/x/hwmon/hwmon0/temp1_input = 40000\n");
  EXPECT_TRUE(find_hwmon(tree).empty());
}

TEST(HwmonDevices, ShowTheirInputsByChannel) {
  MemoryTree tree(
      "link class/hwmon/hwmon0 -> ../../devices/x/hwmon/hwmon0\n"
      "0444 devices/x/hwmon/hwmon0/name = nct6779\n"
      "0444 devices/x/hwmon/hwmon0/temp10_input = 40000\n"
      "0444 devices/x/hwmon/hwmon0/temp2_input = 41000\n"
      "0444 devices/x/hwmon/hwmon0/temp2_label = SYSTIN\n"
      "0444 devices/x/hwmon/hwmon0/temp2_max = 80000\n"
      "0444 devices/x/hwmon/hwmon0/fan2_input = 900\n");
  const std::vector<HwmonInput> inputs = find_inputs(tree, find_hwmon(tree).front(), "temp");
  ASSERT_EQ(inputs.size(), 2U);
  EXPECT_EQ(inputs[0].channel, 2);
  EXPECT_EQ(inputs[0].label, "SYSTIN");
  EXPECT_EQ(inputs[1].channel, 10);
  EXPECT_EQ(inputs[1].label, "");
}

}  // namespace
}  // namespace linux_machine
