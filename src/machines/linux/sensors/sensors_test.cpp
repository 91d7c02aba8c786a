#include "machines/linux/sensors/sensors.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>

#include "support/machine/energy_flow.h"
#include "support/machine/faulty_tree.h"
#include "support/machine/machine_file.h"
#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"
#include "support/machine/turns.h"

namespace linux_machine {
namespace {

using sysfs::Trouble;

/// "PC0C fp88 80.00", or the trouble in place of the value.
std::vector<std::string> describe(const std::vector<SensorKey>& keys) {
  std::vector<std::string> lines;
  for (const SensorKey& key : keys) {
    const auto value = key.connect()->read();
    char number[32];
    std::snprintf(number, sizeof number, "%.2f", value ? *value : 0.0);
    const char* const kTroubles[] = {"absent", "refused", "silent", "nonsense"};
    lines.push_back(key.name + " " + controller::characters_of(key.type.code) + " " +
                    (value ? number : kTroubles[static_cast<int>(value.failure().trouble)]));
  }
  return lines;
}

class SensorsTest : public testing::TestWithParam<std::string> {};

/// What the machine shows, its counters at 40 W each, and nothing left open or written.
std::vector<std::string> shown_by(const std::string& machine) {
  MemoryTree tree(machine);
  const TestSurroundings world(tree);
  let_energy_flow(tree, world, 40);
  std::vector<std::string> lines = describe(find_sensors(world.surroundings));
  EXPECT_EQ(tree.open_handles(), 0);
  EXPECT_EQ(tree.writes(), 0);
  return lines;
}

TEST_P(SensorsTest, OtherNumbersOfTheMonitorsChangeNothingButPaths) {
  std::string text = read_machine(GetParam());
  // 0 to 9 become 29 to 20, in any place: other names, in another order.
  for (std::size_t at = 0; (at = text.find("hwmon/hwmon", at)) != std::string::npos;) {
    at += std::string("hwmon/hwmon").size();
    text[at] = static_cast<char>('0' + '9' - text[at]);
    text.insert(at, "2");
  }
  EXPECT_EQ(shown_by(text), shown_by(read_machine(GetParam())));
}

TEST_P(SensorsTest, AnOrdinaryUserIsRefusedWhatRootAloneMayRead) {
  MemoryTree tree(read_machine(GetParam()));
  tree.superuser = false;
  const TestSurroundings world(tree);
  for (const SensorKey& key : find_sensors(world.surroundings)) {
    const auto value = key.connect()->read();
    const bool refused = !value && value.failure().trouble == Trouble::refused;
    const bool counts_energy = key.source.find("powercap") != std::string::npos ||
                               key.source.find("/energy") != std::string::npos;
    EXPECT_EQ(refused, counts_energy) << key.name;
    if (refused) {
      EXPECT_NE(value.failure().message.find("/energy"), std::string::npos)
          << value.failure().message;
    }
  }
}

/// Whatever goes wrong, at whatever moment: there is a value or a reason with a name in it.
void use_everything(FaultyTree& tree, const TestSurroundings& world) {
  for (const SensorKey& key : find_sensors(world.surroundings)) {
    const auto sensor = key.connect();
    for (int i = 0; i < 2; ++i) {
      const auto value = sensor->read();
      if (!value) {
        const std::string& message = value.failure().message;
        EXPECT_TRUE(message.find("class/") != std::string::npos ||
                    message.find("devices/") != std::string::npos)
            << key.name << ": \"" << message << "\"";
      }
    }
  }
  tree.heal();
}

TEST_P(SensorsTest, NoFaultAtAnyAccessDoesMoreThanCostAValue) {
  MemoryTree below(read_machine(GetParam()));
  FaultyTree tree(below);
  const TestSurroundings world(tree);
  let_energy_flow(below, world, 40);
  use_everything(tree, world);
  const int accesses = tree.accesses();
  int kind = 0;
  for (const int error : {EIO, ENODATA, ENOENT, EACCES}) {
    for (const auto how_long : {FaultyTree::For::once, FaultyTree::For::ever}) {
      const auto [first, step] = turns(kind++, 8);
      for (int n = first; n <= accesses; n += step) {
        tree.fail(n, error, how_long);
        use_everything(tree, world);
        ASSERT_EQ(below.open_handles(), 0) << n;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Machines, SensorsTest, testing::ValuesIn(all_machines()),
                         [](const auto& test) { return test.param; });

class SourcesTest : public testing::Test {
 protected:
  static std::string source(const std::string& machine, const std::string& name) {
    MemoryTree tree(read_machine(machine));
    const TestSurroundings world(tree);
    for (const SensorKey& key : find_sensors(world.surroundings)) {
      if (key.name == name) {
        return key.source;
      }
    }
    return "none";
  }
};

TEST_F(SourcesTest, NameThePartsOfASum) {
  EXPECT_EQ(source("two_socket_intel", "PC0C"),
            "class/powercap/intel-rapl:0 (package-0) + class/powercap/intel-rapl:1 (package-1)");
  EXPECT_EQ(source("two_socket_intel", "PD0C"),
            "class/powercap/intel-rapl:0:1 (dram of package-0) + "
            "class/powercap/intel-rapl:1:1 (dram of package-1)");
  EXPECT_EQ(source("laptop_intel_hwp", "PC0C"), "class/powercap/intel-rapl:0 (package-0)");
  EXPECT_EQ(source("laptop_intel_hwp", "PS0C"), "class/powercap/intel-rapl:1 (psys)");
}

TEST_F(SourcesTest, NameDriverLabelAndAttribute) {
  EXPECT_EQ(source("two_socket_intel", "TC0D"),
            "coretemp, label \"Package id 0\": "
            "devices/platform/coretemp.0/hwmon/hwmon1/temp1_input");
  EXPECT_EQ(source("amd_energy_server", "PC0C"),
            "amd_energy, label \"Esocket0\": "
            "devices/platform/amd_energy.0/hwmon/hwmon2/energy3_input");
  EXPECT_EQ(source("arm_server", "PC0C"),
            "apm_xgene, label \"CPU power\": "
            "devices/platform/APMC0D29:00/hwmon/hwmon0/power1_input");
}

TEST_F(SourcesTest, NameEveryCandidateOfAMaximum) {
  EXPECT_EQ(source("old_laptop", "TC0D"),
            "hottest of coretemp, label \"Core 0\": "
            "devices/platform/coretemp.0/hwmon/hwmon1/temp2_input; coretemp, label \"Core 2\": "
            "devices/platform/coretemp.0/hwmon/hwmon1/temp4_input");
}

}  // namespace
}  // namespace linux_machine
