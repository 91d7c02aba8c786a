#include "machines/linux/sensors/sensors.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <map>

#include "support/machine/faulty_tree.h"
#include "support/machine/machine_file.h"
#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"
#include "support/machine/turns.h"

namespace linux_machine {
namespace {

using sysfs::Trouble;

std::string type_name(const controller::ValueType& type) {
  std::string name;
  for (const int shift : {24, 16, 8, 0}) {
    name += static_cast<char>((type.code >> shift) & 0xFFU);
  }
  return name;
}

/// Makes every energy counter count, at `power_w`, from what the fixture says.
void let_energy_flow(MemoryTree& tree, const TestSurroundings& world, double power_w) {
  const std::int64_t start_ns = world.now_ns;
  for (const auto& [path, text] : tree.snapshot()) {
    if (path.ends_with("energy_uj") || path.find("/energy") != std::string::npos) {
      if (path.ends_with("_label")) {
        continue;
      }
      tree.on_read(path, [&world, start_ns, power_w](const std::string& stored) {
        const double gained = static_cast<double>(world.now_ns - start_ns) * power_w * 1e-3;
        try {
          return MemoryTree::Answer{
              std::to_string(std::stoll(stored) + static_cast<long long>(gained)), 0};
        } catch (const std::exception&) {
          return MemoryTree::Answer{stored, 0};
        }
      });
    }
  }
}

/// "PC0C fp88 80.00", or the trouble in place of the value.
std::vector<std::string> describe(const std::vector<SensorKey>& keys) {
  std::vector<std::string> lines;
  for (const SensorKey& key : keys) {
    const auto value = key.connect()->read();
    char number[32];
    std::snprintf(number, sizeof number, "%.2f", value ? *value : 0.0);
    const char* const kTroubles[] = {"absent", "refused", "silent", "nonsense"};
    lines.push_back(key.name + " " + type_name(key.type) + " " +
                    (value ? number : kTroubles[static_cast<int>(value.failure().trouble)]));
  }
  return lines;
}

/// What every machine of tests/machines shows, its counters at 40 W each.
const std::map<std::string, std::vector<std::string>> kExpected = {
    {"acpitz_only", {"TC0D sp78 nonsense", "TC0P sp78 nonsense"}},
    {"amd_energy_server", {"PC0C fpe2 40.00", "TC0D sp78 44.50", "TC0P sp78 44.50"}},
    {"amd_laptop_guided",
     {"PC0C fpe2 40.00", "TC0D sp78 51.62", "TC0P sp78 51.62", "TA0P sp78 29.85"}},
    {"amd_pstate_passive", {"PC0C fpe2 40.00", "TC0D sp78 38.88", "TC0P sp78 38.88"}},
    {"arm_board", {"TC0D sp78 48.31", "TC0P sp78 48.31"}},
    {"arm_server", {"PC0C fpe2 32.50", "TC0D sp78 41.00", "TC0P sp78 41.00"}},
    {"dell_laptop",
     {"PC0C fp88 40.00", "PD0C fpe2 40.00", "TC0D sp78 50.00", "TC0P sp78 50.00",
      "TA0P sp78 36.00"}},
    {"desktop_amd", {"PC0C fpe2 40.00", "TC0D sp78 33.25", "TC0P sp78 33.25"}},
    {"hybrid_intel", {"PC0C fpe2 40.00", "PS0C fpe2 40.00", "TC0D sp78 61.00", "TC0P sp78 61.00"}},
    {"laptop_intel_hwp",
     {"PC0C fp88 40.00", "PS0C fpe2 40.00", "TC0D sp78 46.00", "TC0P sp78 46.00"}},
    {"multi_die_intel",
     {"PC0C fpe2 200.00", "PD0C fpe2 200.00", "TC0D sp78 48.00", "TC1D sp78 52.00",
      "TC2D sp78 50.00", "TC0P sp78 52.00"}},
    {"old_laptop", {"TC0D sp78 53.00", "TC0P sp78 53.00"}},
    {"server_amd_epyc",
     {"PC0C fpe2 80.00", "TC0D sp78 41.25", "TC1D sp78 39.00", "TC0P sp78 41.25"}},
    {"trouble_everywhere",
     {"PC0C fpe2 silent", "PD0C fpe2 nonsense", "PS0C fpe2 silent", "TC0D sp78 silent",
      "TC0P sp78 silent", "TA0P sp78 silent"}},
    {"two_socket_intel",
     {"PC0C fpe2 80.00", "PD0C fp88 80.00", "TC0D sp78 55.00", "TC1D sp78 57.00",
      "TC0P sp78 57.00"}},
    {"virtual_machine", {}},
    {"zenpower_desktop", {"PC0C fpe2 37.20", "TC0D sp78 47.38", "TC0P sp78 47.38"}},
};

class SensorsTest : public testing::TestWithParam<std::string> {};

TEST_P(SensorsTest, KeysTypesAndValuesAreTheMachines) {
  MemoryTree tree(read_machine(GetParam()));
  const TestSurroundings world(tree);
  let_energy_flow(tree, world, 40);
  ASSERT_EQ(kExpected.count(GetParam()), 1U);
  EXPECT_EQ(describe(find_sensors(world.surroundings)), kExpected.at(GetParam()));
  EXPECT_EQ(tree.open_handles(), 0);
  EXPECT_EQ(tree.writes(), 0);
}

TEST_P(SensorsTest, OtherNumbersOfTheMonitorsChangeNothingButPaths) {
  std::string text = read_machine(GetParam());
  // 0 to 9 become 29 to 20, in any place: other names, in another order.
  for (std::size_t at = 0; (at = text.find("hwmon/hwmon", at)) != std::string::npos;) {
    at += std::string("hwmon/hwmon").size();
    text[at] = static_cast<char>('0' + '9' - text[at]);
    text.insert(at, "2");
  }
  MemoryTree tree(text);
  const TestSurroundings world(tree);
  let_energy_flow(tree, world, 40);
  EXPECT_EQ(describe(find_sensors(world.surroundings)), kExpected.at(GetParam()));
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
