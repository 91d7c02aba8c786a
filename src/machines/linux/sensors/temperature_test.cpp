#include "machines/linux/sensors/temperature.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <ostream>
#include <string>

#include "machines/linux/sensors/thermometers.h"
#include "support/machine/faulty_tree.h"
#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

using sysfs::Trouble;

/// Text as a part of a test's name.
std::string in_a_name(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return text;
}

class TemperatureTest : public testing::Test {
 protected:
  /// A monitor, its device as the kernel shows it.
  void chip(const std::string& device, const std::string& name) {
    folder_ = "devices/" + device + "/hwmon/hwmon" + std::to_string(chips_);
    tree_.put(folder_ + "/name", name);
    tree_.link(folder_ + "/device", "../../../" + device.substr(device.rfind('/') + 1));
    tree_.link("class/hwmon/hwmon" + std::to_string(chips_), "../../" + folder_);
    ++chips_;
  }
  /// A temperature of the monitor made last.
  void temp(int channel, const std::string& label, const std::string& millidegrees) {
    const std::string stem = folder_ + "/temp" + std::to_string(channel);
    tree_.put(stem + "_input", millidegrees);
    if (!label.empty()) {
      tree_.put(stem + "_label", label);
    }
  }
  void zone(const std::string& type, const std::string& millidegrees) {
    const std::string folder = "class/thermal/thermal_zone" + std::to_string(zones_++);
    tree_.put(folder + "/type", type);
    tree_.put(folder + "/temp", millidegrees);
  }

  std::vector<SensorKey> keys() { return find_temperature_keys(world_.surroundings); }
  std::string names() {
    std::string all;
    for (const SensorKey& key : keys()) {
      all += (all.empty() ? "" : " ") + key.name;
    }
    return all;
  }
  sysfs::Result<double> value(const std::string& name) {
    for (const SensorKey& key : keys()) {
      if (key.name == name) {
        return key.connect()->read();
      }
    }
    return sysfs::Failure{Trouble::absent, "no key"};
  }
  std::string message(const std::string& name) { return value(name).failure().message; }

  MemoryTree tree_;
  TestSurroundings world_{tree_};
  std::string folder_;
  int chips_ = 0;
  int zones_ = 0;
};

TEST_F(TemperatureTest, AMachineWithoutSensorsHasNoKeys) {
  EXPECT_EQ(names(), "");
}

// The number of a package is in its label; that of its device may run against it.
TEST_F(TemperatureTest, EveryIntelPackageHasAKey) {
  chip("platform/coretemp.1", "coretemp");
  temp(1, "Package id 10", "50000");
  chip("platform/coretemp.2", "coretemp");
  temp(1, "Physical id 2", "62000");
  temp(2, "Core 0", "80000");
  EXPECT_EQ(names(), "TC0D TC1D TC0P");
  EXPECT_EQ(*value("TC0D"), 62);
  EXPECT_EQ(*value("TC1D"), 50);
  EXPECT_EQ(*value("TC0P"), 62);
  EXPECT_EQ(keys()[0].source,
            "coretemp, label \"Physical id 2\": "
            "devices/platform/coretemp.2/hwmon/hwmon1/temp1_input");
  EXPECT_EQ(keys()[0].type.code, controller::kSp78.code);
}

TEST_F(TemperatureTest, WithoutAPackageSensorTheHottestCoreCounts) {
  chip("platform/coretemp.0", "coretemp");
  temp(2, "Core 0", "51000");
  temp(4, "Core 2", "53000");
  temp(5, "Core 3", "52000");
  EXPECT_EQ(names(), "TC0D TC0P");
  EXPECT_EQ(*value("TC0D"), 53);
}

TEST_F(TemperatureTest, WithoutLabelsTheHottestOfCoretempCounts) {
  chip("platform/coretemp.0", "coretemp");
  temp(1, "", "51000");
  temp(2, "", "49000");
  EXPECT_EQ(*value("TC0D"), 51);
}

TEST_F(TemperatureTest, TdieIsBetterThanTctlAndThanTheDies) {
  chip("pci0000:00/0000:00:18.3", "k10temp");
  temp(1, "Tctl", "70000");
  temp(2, "Tdie", "50000");
  temp(3, "Tccd1", "72000");
  EXPECT_EQ(*value("TC0D"), 50);
}

TEST_F(TemperatureTest, TctlCountsWhereThereIsNoTdie) {
  chip("pci0000:00/0000:00:18.3", "k10temp");
  temp(1, "Tctl", "33250");
  temp(3, "Tccd1", "35000");
  EXPECT_EQ(*value("TC0D"), 33.25);
}

TEST_F(TemperatureTest, OldAmdProcessorsHaveNoLabel) {
  chip("pci0000:00/0000:00:18.3", "k10temp");
  temp(1, "", "41500");
  EXPECT_EQ(*value("TC0D"), 41.5);
}

TEST_F(TemperatureTest, TheHottestClusterOfAnArmProcessorCounts) {
  chip("virtual/thermal/thermal_zone0", "cpu0_thermal");
  temp(1, "", "44000");
  chip("virtual/thermal/thermal_zone1", "bigcore0_thermal");
  temp(1, "", "47000");
  chip("virtual/thermal/thermal_zone2", "gpu_thermal");
  temp(1, "", "60000");
  EXPECT_EQ(names(), "TC0D TC0P");
  EXPECT_EQ(*value("TC0D"), 47);
}

class ProcessorNames : public TemperatureTest, public testing::WithParamInterface<const char*> {};

TEST_P(ProcessorNames, AreThoseOfMonitors) {
  chip("platform/soc", GetParam());
  temp(1, "", "45000");
  chip("platform/gpu", "gpu_thermal");
  temp(1, "", "60000");
  EXPECT_EQ(*value("TC0D"), 45);
}

TEST_P(ProcessorNames, AreThoseOfZonesButForTheSensorBlock) {
  zone(GetParam(), "45000");
  zone("gpu-thermal", "60000");
  EXPECT_EQ(names(), GetParam() == std::string("pvt") ? "" : "TC0D TC0P");
}
INSTANTIATE_TEST_SUITE_P(All, ProcessorNames,
                         testing::Values("cpu", "CPU-therm", "CPU_therm", "imx_thermal_zone",
                                         "thermal_cluster0", "cpu_thermal0", "cpu0-thermal",
                                         "soc-thermal", "bigcore1_thermal", "pvt"),
                         [](const auto& test) {
                           return in_a_name(test.param) + "_" + std::to_string(test.index);
                         });

TEST_F(TemperatureTest, SeveralNodesOfAPackageAreOne) {
  const auto processor = [&](int number, int package) {
    tree_.put("devices/system/cpu/cpu" + std::to_string(number) + "/topology/physical_package_id",
              std::to_string(package));
  };
  for (const char* const node : {"1a", "18", "1b", "19"}) {
    chip("pci0000:00/0000:00:" + std::string(node) + ".3", "k10temp");
    temp(1, "", std::string("4") + std::to_string(node[1] % 10) + "000");
  }
  EXPECT_EQ(names(), "TC0D TC1D TC2D TC3D TC0P") << "nothing is known of packages";
  processor(0, 0);
  processor(1, 1);
  EXPECT_EQ(names(), "TC0D TC1D TC0P");
  EXPECT_EQ(*value("TC0D"), 47) << "of 18 and 19";
  EXPECT_EQ(*value("TC1D"), 48) << "of 1a and 1b";
  processor(2, 2);
  EXPECT_EQ(names(), "TC0D TC1D TC2D TC3D TC0P") << "four nodes are no three packages";
}

TEST_F(TemperatureTest, EachManagementProcessorIsAPackage) {
  chip("platform/AMPC0005:0a", "apm_xgene");
  temp(1, "SoC Temperature", "49000");
  chip("platform/AMPC0005:01", "apm_xgene");
  temp(1, "SoC Temperature", "46000");
  EXPECT_EQ(names(), "TC0D TC1D TC0P");
  EXPECT_EQ(*value("TC0D"), 46);
}

TEST_F(TemperatureTest, ASilentClusterIsLeftOut) {
  chip("virtual/thermal/thermal_zone0", "cpu_thermal");
  temp(1, "", "44000");
  chip("virtual/thermal/thermal_zone1", "soc_thermal");
  temp(1, "", "43000");
  const auto sensor = keys().at(0).connect();
  tree_.fail("devices/virtual/thermal/thermal_zone0/hwmon/hwmon0/temp1_input", ENODATA);
  EXPECT_EQ(*sensor->read(), 43);
}

TEST_F(TemperatureTest, TheBoardCountsByWhatTheProcessorTellsIt) {
  chip("platform/nct6775.656", "nct6779");
  temp(1, "SYSTIN", "30000");
  temp(2, "CPUTIN", "90000");
  temp(7, "PECI Agent 0", "50000");
  temp(8, "PECI Agent 0 Calibration", "91000");
  temp(9, "PECI Agent 1", "52000");
  EXPECT_EQ(names(), "TC0D TC1D TC0P");
  EXPECT_EQ(*value("TC0P"), 52);
}

TEST_F(TemperatureTest, TheBoardAloneSaysNothingOfTheProcessor) {
  chip("platform/nct6775.656", "nct6779");
  temp(2, "CPUTIN", "40000");
  temp(3, "AUXTIN0", "41000");
  EXPECT_EQ(names(), "");
}

struct Firmware {
  const char* name;
  const char* label;
};

std::ostream& operator<<(std::ostream& out, const Firmware& firmware) {
  return out << firmware.name << " " << firmware.label;
}

class FirmwareTest : public TemperatureTest, public testing::WithParamInterface<Firmware> {};

TEST_P(FirmwareTest, CountsByItsLabel) {
  chip("platform/ec", GetParam().name);
  temp(1, GetParam().label, "45000");
  temp(2, "Other", "60000");
  EXPECT_EQ(*value("TC0D"), 45);
}
INSTANTIATE_TEST_SUITE_P(All, FirmwareTest,
                         testing::Values(Firmware{"asusec", "CPU Package"},
                                         Firmware{"asusec", "CPU"}, Firmware{"dell_smm", "CPU"},
                                         Firmware{"thinkpad", "CPU"}, Firmware{"thinkpad", ""},
                                         Firmware{"cros_ec", "cpu_f75303@4d"},
                                         Firmware{"via_cputemp", ""}, Firmware{"zenpower", "Tdie"},
                                         Firmware{"apm_xgene", "SoC Temperature"},
                                         Firmware{"scpi_sensors", "big_cluster"},
                                         Firmware{"nct6798", "TSI0_TEMP"}),
                         [](const auto& test) {
                           return in_a_name(std::string(test.param.name) + "_" + test.param.label);
                         });

TEST_F(TemperatureTest, EveryPackageZoneIsAPackage) {
  for (int i = 0; i < 11; ++i) {
    zone("x86_pkg_temp", std::to_string(40000 + i * 1000));
  }
  // Ten can be told apart; the hottest is that of all.
  EXPECT_EQ(names(), "TC0D TC1D TC2D TC3D TC4D TC5D TC6D TC7D TC8D TC9D TC0P");
  EXPECT_EQ(*value("TC9D"), 49);
  EXPECT_EQ(*value("TC0P"), 50);
}

TEST_F(TemperatureTest, TheFirmwaresZoneIsTheLastToBeAsked) {
  zone("acpitz", "27800");
  zone("cpu-thermal", "45000");
  EXPECT_EQ(*value("TC0D"), 45);
  tree_.put("class/thermal/thermal_zone1/temp", "0");
  EXPECT_EQ(*value("TC0D"), 27.8);
  EXPECT_EQ(keys()[0].source, "thermal zone acpitz: class/thermal/thermal_zone0/temp");
}

TEST_F(TemperatureTest, AChoiceThatDoesNotAnswerIsPassedOver) {
  chip("platform/coretemp.0", "coretemp");
  temp(1, "Package id 0", "0");
  chip("platform/dell_smm_hwmon", "dell_smm");
  temp(1, "CPU", "45000");
  EXPECT_EQ(*value("TC0D"), 45);
}

TEST_F(TemperatureTest, IfNoneAnswersTheBestSaysWhy) {
  chip("platform/coretemp.0", "coretemp");
  temp(1, "Package id 0", "127000");
  zone("acpitz", "-44000");
  EXPECT_EQ(names(), "TC0D TC0P");
  EXPECT_EQ(value("TC0D").failure().trouble, Trouble::nonsense);
  EXPECT_EQ(message("TC0D"),
            "reading devices/platform/coretemp.0/hwmon/hwmon0/temp1_input: "
            "127.000 degrees cannot be");
  EXPECT_EQ(message("TC0P"), message("TC0D"));
}

TEST_F(TemperatureTest, TheHottestPackageIsUnknownWhileOneIsSilent) {
  chip("platform/coretemp.0", "coretemp");
  temp(1, "Package id 0", "50000");
  chip("platform/coretemp.1", "coretemp");
  temp(1, "Package id 1", "60000");
  tree_.fail(folder_ + "/temp1_input", ENODATA);
  EXPECT_EQ(*value("TC0D"), 50);
  EXPECT_EQ(value("TC0P").failure().trouble, Trouble::silent);
  EXPECT_EQ(message("TC0P"),
            "reading devices/platform/coretemp.1/hwmon/hwmon1/temp1_input: No data available");
}

class PlausibleTest : public TemperatureTest, public testing::WithParamInterface<const char*> {};

TEST_P(PlausibleTest, IsNonsenseForAProcessor) {
  chip("platform/coretemp.0", "coretemp");
  temp(1, "Package id 0", GetParam());
  EXPECT_EQ(value("TC0D").failure().trouble, Trouble::nonsense);
}
INSTANTIATE_TEST_SUITE_P(All, PlausibleTest,
                         testing::Values("-44000", "0", "999", "125001", "127000", "255000", "hot"),
                         [](const auto& test) {
                           return in_a_name(std::string("Of_") + test.param);
                         });

TEST_F(TemperatureTest, TheLimitsOfAProcessorAreWithin) {
  chip("platform/coretemp.0", "coretemp");
  temp(1, "Package id 0", "1000");
  EXPECT_EQ(*value("TC0D"), 1);
  temp(1, "Package id 0", "125000");
  EXPECT_EQ(*value("TC0D"), 125);
}

TEST_F(TemperatureTest, TheAirsSensorSaysSoInItsLabel) {
  chip("platform/dell_smm_hwmon", "dell_smm");
  temp(1, "SODIMM", "40000");
  temp(2, "AMBIENT 1", "-5000");
  EXPECT_EQ(names(), "TA0P");
  EXPECT_EQ(*value("TA0P"), -5);
}

TEST_F(TemperatureTest, AmbientIsBetterThanSystemUnlessItIsNonsense) {
  chip("platform/a", "board");
  temp(1, "System Temp", "35000");
  temp(2, "Ambient", "25000");
  EXPECT_EQ(*value("TA0P"), 25);
  temp(2, "Ambient", "-128000");
  EXPECT_EQ(*value("TA0P"), 35);
  temp(1, "System Temp", "255000");
  EXPECT_EQ(value("TA0P").failure().trouble, Trouble::nonsense);
}

TEST_F(TemperatureTest, PartsOfWordsAndOtherDevicesAreNotTheAir) {
  chip("platform/nct6775.656", "nct6779");
  temp(1, "SYSTIN", "30000");
  temp(2, "Subsystem", "30000");
  temp(3, "", "30000");
  chip("pci0000:00/nvme0", "nvme");
  temp(1, "Ambient", "30000");
  EXPECT_EQ(names(), "");
}

TEST_F(TemperatureTest, ReadingAPackageIsOneAccess) {
  chip("platform/coretemp.0", "coretemp");
  temp(1, "Package id 0", "50000");
  FaultyTree counted(tree_);
  const TestSurroundings world(counted);
  const auto keys = find_temperature_keys(world.surroundings);
  const auto sensor = keys.at(0).connect();
  counted.fail(0, 0, FaultyTree::For::once);
  EXPECT_EQ(*sensor->read(), 50);
  EXPECT_EQ(counted.accesses(), 1);
}

TEST_F(TemperatureTest, TheWatchGetsEveryPackageWithItsCriticalTemperature) {
  chip("platform/coretemp.0", "coretemp");
  temp(1, "Package id 0", "50000");
  tree_.put(folder_ + "/temp1_crit", "100000");
  chip("platform/coretemp.1", "coretemp");
  temp(1, "Package id 1", "50000");
  const auto watched = find_watched_temperatures(tree_);
  ASSERT_EQ(watched.size(), 2U);
  EXPECT_EQ(watched[0].attribute, "devices/platform/coretemp.0/hwmon/hwmon0/temp1_input");
  EXPECT_EQ(watched[0].critical_c, 100);
  EXPECT_EQ(watched[1].critical_c, 95);
}

TEST_F(TemperatureTest, ACriticalTemperatureThatCannotBeIsTheUsual) {
  chip("platform/coretemp.0", "coretemp");
  temp(1, "Package id 0", "50000");
  for (const char* critical : {"0", "127000", "255000", "-1000", "", "high"}) {
    tree_.put(folder_ + "/temp1_crit", critical);
    EXPECT_EQ(find_watched_temperatures(tree_).at(0).critical_c, 95) << critical;
  }
}

TEST_F(TemperatureTest, AZonesCriticalTemperatureIsItsTripPoint) {
  zone("cpu-thermal", "45000");
  tree_.put("class/thermal/thermal_zone0/trip_point_0_type", "passive");
  tree_.put("class/thermal/thermal_zone0/trip_point_0_temp", "80000");
  tree_.put("class/thermal/thermal_zone0/trip_point_1_type", "critical");
  tree_.put("class/thermal/thermal_zone0/trip_point_1_temp", "110000");
  EXPECT_EQ(find_watched_temperatures(tree_).at(0).critical_c, 110);
}

TEST_F(TemperatureTest, OfAThinkpadOnlyTheFirstSensorIsTheProcessors) {
  chip("platform/thinkpad_hwmon", "thinkpad");
  temp(2, "", "45000");
  EXPECT_EQ(names(), "");
}

}  // namespace
}  // namespace linux_machine
