#include "machines/linux/sensors/hwmon_power.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <utility>

#include "machines/linux/sensors/power.h"
#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

using sysfs::Trouble;

class HwmonPowerTest : public testing::Test {
 protected:
  void chip(const std::string& name) {
    folder_ = "class/hwmon/hwmon" + std::to_string(chips_++);
    tree_.put(folder_ + "/name", name);
  }
  void power(int channel, const std::string& label, const std::string& microwatts) {
    const std::string stem = folder_ + "/power" + std::to_string(channel);
    tree_.put(stem + "_input", microwatts);
    tree_.put(stem + "_label", label);
  }
  sysfs::Result<double> value() {
    const auto keys = find_power_keys(world_.surroundings);
    return keys.empty() ? sysfs::Failure{Trouble::absent, "no key"}
                        : keys.front().connect()->read();
  }

  MemoryTree tree_;
  TestSurroundings world_{tree_};
  std::string folder_;
  int chips_ = 0;
};

TEST_F(HwmonPowerTest, TheRailsOfAProcessorAreSummedUp) {
  chip("zenpower");
  power(1, "SVI2_P_Core", "28000000");
  power(2, "SVI2_P_SoC", "8500000");
  EXPECT_EQ(*value(), 36.5);
}

TEST_F(HwmonPowerTest, OnePackageMeasuredByItsNodeIsAPowerWithAKnownLimit) {
  chip("fam15h_power");
  power(1, "", "45000000");
  tree_.put(folder_ + "/power1_crit", "124950000");
  const auto keys = find_power_keys(world_.surroundings);
  EXPECT_EQ(keys.at(0).type.code, controller::kFp88.code);
  EXPECT_EQ(*value(), 45);
}

TEST_F(HwmonPowerTest, TheFinerTypeHoldsEveryPowerThatIsBelieved) {
  chip("fam15h_power");
  for (const auto& [limit, type] : {std::pair{"127500000", controller::kFp88.code},
                                    std::pair{"127600000", controller::kFpe2.code}}) {
    power(1, "", "250000000");
    tree_.put(folder_ + "/power1_crit", limit);
    EXPECT_EQ(find_power_keys(world_.surroundings).at(0).type.code, type) << limit;
    EXPECT_EQ(*value(), 250);
    power(1, "", "255300000");
    EXPECT_EQ(value().failure().trouble, Trouble::nonsense) << limit;
  }
}

TEST_F(HwmonPowerTest, RaplIsBetter) {
  chip("fam15h_power");
  power(1, "", "45000000");
  tree_.put("class/powercap/intel-rapl:0/name", "package-0");
  tree_.put("class/powercap/intel-rapl:0/energy_uj", "5");
  const auto keys = find_power_keys(world_.surroundings);
  ASSERT_EQ(keys.size(), 1U);
  EXPECT_EQ(keys[0].source, "class/powercap/intel-rapl:0 (package-0)");
}

TEST_F(HwmonPowerTest, CardsSuppliesAndTheWholeMachineAreNoProcessors) {
  chip("amdgpu");
  power(1, "PPT", "9000000");
  chip("power_meter");
  power(1, "", "300000000");
  chip("corsairpsu");
  power(1, "power total", "120000000");
  chip("apm_xgene");
  power(2, "IO power", "9000000");
  chip("amd_energy");
  tree_.put(folder_ + "/energy1_input", "5");
  tree_.put(folder_ + "/energy1_label", "Ecore000");
  EXPECT_TRUE(find_power_keys(world_.surroundings).empty());
}

TEST_F(HwmonPowerTest, AnAcpiMeterIsAProcessorsIfTheFirmwareSaysSo) {
  const auto meter = [&](const char* what, const char* microwatts) {
    chip("power_meter");
    tree_.put(folder_ + "/power1_average", microwatts);
    tree_.put(folder_ + "/power1_oem_info", what);
  };
  meter("Module Power Socket 0", "402000000");
  meter("SysIO Power Socket 0", "57000000");
  EXPECT_EQ(value().failure().message, "no key");
  meter("CPU Power Socket 0", "148000000");
  meter("CPU Power Socket 1", "143500000");
  EXPECT_EQ(*value(), 291.5);
}

TEST_F(HwmonPowerTest, WhatCannotBeIsNonsense) {
  chip("fam15h_power");
  for (const char* microwatts : {"0", "-1", "1000000001", "much"}) {
    power(1, "", microwatts);
    EXPECT_EQ(value().failure().trouble, Trouble::nonsense) << microwatts;
  }
  power(1, "", "0");
  EXPECT_EQ(value().failure().message,
            "reading class/hwmon/hwmon0/power1_input: 0 microwatts cannot be");
}

TEST_F(HwmonPowerTest, ARailThatIsSilentLeavesNoSum) {
  chip("zenpower");
  power(1, "SVI2_P_Core", "28000000");
  power(2, "SVI2_P_SoC", "8500000");
  tree_.fail(folder_ + "/power2_input", ENODATA);
  EXPECT_EQ(value().failure().message,
            "reading class/hwmon/hwmon0/power2_input: No data available");
}

TEST_F(HwmonPowerTest, TheSocketsEnergiesAreSummedUp) {
  chip("zenergy");
  for (const char* channel : {"1", "2"}) {
    const std::string stem = folder_ + "/energy" + channel;
    tree_.put(stem + "_input", "1");
    tree_.put(stem + "_label", std::string("Esocket") + channel);
    tree_.on_read(stem + "_input", [this](const std::string&) {
      return MemoryTree::Answer{std::to_string(world_.now_ns / 1000 * 30), 0};
    });
  }
  EXPECT_NEAR(*value(), 60, 1e-9);
}

TEST_F(HwmonPowerTest, OfAProcessorsMonitorOnlyTheFirstPowerIsThePackages) {
  chip("fam15h_power");
  power(1, "", "45000000");
  power(2, "", "95000000");
  EXPECT_EQ(*value(), 45);
}

}  // namespace
}  // namespace linux_machine
