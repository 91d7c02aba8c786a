#include "machines/linux/drivers/composition.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/machine/fan_fixture.h"
#include "support/machine/machine_file.h"
#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

using Names = std::vector<std::string>;

Names names_of(const std::vector<Key>& keys) {
  Names all;
  all.reserve(keys.size());
  for (const Key& key : keys) {
    all.push_back(key.name());
  }
  return all;
}

class MachineTest : public testing::TestWithParam<std::string> {
 protected:
  MemoryTree tree{read_machine(GetParam())};
  TestSurroundings world{tree};
};

TEST_P(MachineTest, HasTheSameKeysForAnOrdinaryUser) {
  const Names of_root = names_of(Machine(world.surroundings).keys());
  tree.superuser = false;
  world.user = 1000;
  EXPECT_EQ(names_of(Machine(world.surroundings).keys()), of_root);
}

TEST_P(MachineTest, SaysWhatStandsBehindEachKey) {
  const Machine machine(world.surroundings);
  for (const Key& key : machine.keys()) {
    const bool attribute = key.source.find("class/") != std::string::npos ||
                           key.source.find("devices/") != std::string::npos;
    const bool measured = key.source.find("vorn-keys --calibrate") != std::string::npos;
    EXPECT_TRUE(attribute || measured || key.name() == "FS! ") << key.name() << ": " << key.source;
  }
}

TEST_P(MachineTest, HasADriverForWhatIsThere) {
  std::vector<Names> classes;
  Machine machine(world.surroundings);
  for (const kx::Node& node : compose(machine)) {
    classes.push_back(node.driver->classes());
    EXPECT_TRUE(node.children.empty());
  }
  std::vector<Names> expected;
  if (!machine.keys().empty()) {
    expected.push_back({"VeltoSMC"});
  }
  if (read_machine(GetParam()).find("cpufreq/policy") != std::string::npos) {
    expected.push_back({"LinuxPlatformPlugin", "KxPlatformPlugin"});
  }
  EXPECT_EQ(classes, expected);
}

TEST_P(MachineTest, IsOnlyLookedAt) {
  const auto before = tree.snapshot();
  {
    Machine machine(world.surroundings);
    compose(machine);
  }
  EXPECT_EQ(tree.writes(), 0);
  EXPECT_EQ(tree.snapshot(), before);
  EXPECT_EQ(tree.open_handles(), 0);
  EXPECT_TRUE(std::filesystem::is_empty(world.folder()));
  EXPECT_TRUE(world.reports().empty());
}

INSTANTIATE_TEST_SUITE_P(Machines, MachineTest, testing::ValuesIn(all_machines()),
                         [](const auto& one) { return one.param; });

TEST(MachineWithNothing, HasNoDrivers) {
  MemoryTree nothing;
  const TestSurroundings world(nothing);
  Machine machine(world.surroundings);
  EXPECT_TRUE(machine.keys().empty());
  EXPECT_TRUE(machine.temperatures().empty());
  EXPECT_TRUE(compose(machine).empty());
}

TEST(MachineTemperatures, AreThoseOfThePackagesWithTheirLimits) {
  MemoryTree tree(read_machine("two_socket_intel"));
  const TestSurroundings world(tree);
  const Machine machine(world.surroundings);
  ASSERT_EQ(machine.temperatures().size(), 2U);
  for (const WatchedTemperature& one : machine.temperatures()) {
    EXPECT_NE(one.attribute.find("coretemp"), std::string::npos) << one.attribute;
    EXPECT_EQ(one.critical_c, 100);
  }
}

/// A machine with two fans that move, and one connection to its controller.
class MachineWithFans : public testing::Test {
 protected:
  MachineWithFans() {
    driver_ = compose(machine).front().driver;
    EXPECT_EQ(driver_->open(kSMCConnectionType, client_), kKxReturnSuccess);
    EXPECT_EQ(client_->scalar_method(kSMCSelectorOpen, {}, {}), kKxReturnSuccess);
  }

  kx_return_t write(const char (&name)[5], unsigned value) {
    SMCParamStruct record{};
    record.key = controller::four_characters(name);
    record.command = kSMCCommandWrite;
    record.info.dataSize = 2;
    record.bytes[0] = static_cast<std::uint8_t>(value >> 8U);
    record.bytes[1] = static_cast<std::uint8_t>(value);
    std::size_t size = 0;
    return client_->structure_method(kSMCSelectorTransaction, std::as_bytes(std::span(&record, 1)),
                                     std::as_writable_bytes(std::span(&record, 1)), size);
  }

  FanFixture bench;
  Machine machine{bench.surroundings.surroundings};

 private:
  std::shared_ptr<kx::Driver> driver_;
  std::unique_ptr<kx::UserClient> client_;
};

TEST_F(MachineWithFans, IsWrittenBySuperusers) {
  EXPECT_EQ(write("F0Tg", 1200 * 4), kKxReturnSuccess);
  bench.surroundings.user = 1000;
  EXPECT_EQ(write("F0Tg", 1300 * 4), kKxReturnNotPermitted);
  EXPECT_EQ(*machine.fans().target_rpm(0), 1200);
}

// As a run does that has given the privilege up behind its first forcing.
TEST_F(MachineWithFans, TellsForcedFansTheirSpeedsWithoutThePrivilege) {
  bench.save_true_curve(0, Curve::Stop::unproven);
  ASSERT_EQ(write("FS! ", 1), kKxReturnSuccess);
  bench.surroundings.user = 1000;
  bench.faulty.privileged = false;
  EXPECT_EQ(write("F0Tg", 1200 * 4), kKxReturnSuccess);
  EXPECT_EQ(*machine.fans().target_rpm(0), 1200);
  EXPECT_EQ(write("FS! ", 3), kKxReturnNotPermitted) << "and forces no other";
  EXPECT_EQ(machine.fans().force_bits(), 1);
}

struct HotMachine {
  const char* name;
  const char* fan;  ///< that is F0
};

class HotMachines : public testing::TestWithParam<HotMachine> {};

// 95 degrees without a limit that is named, and 96 of 100: what these processors are made for.
TEST_P(HotMachines, KeepTheirFansForcedUntilOneTurnsSlowerThanItWasFound) {
  MemoryTree tree(read_machine(GetParam().name));
  TestSurroundings world(tree);
  Machine machine(world.surroundings);
  const auto pass = [&](int seconds) {
    for (int round = 0; round < 2 * seconds; ++round) {
      world.now_ns += FanControl::kWatchPeriodNs;
      machine.fans().watch();
    }
  };
  ASSERT_TRUE(machine.fans().set_force_bits(1));
  pass(60);
  EXPECT_EQ(machine.fans().force_bits(), 1);
  EXPECT_EQ(world.reports(), std::vector<std::string>());
  const long long found = *sysfs::read_integer(tree, GetParam().fan);
  tree.put(GetParam().fan, std::to_string(found * 8 / 10));
  pass(2);
  EXPECT_EQ(machine.fans().force_bits(), 0);
  EXPECT_TRUE(world.reported(std::string(GetParam().fan) + " turns slower than it was found"));
}

INSTANTIATE_TEST_SUITE_P(
    Made, HotMachines,
    testing::Values(
        HotMachine{"hot_desktop_amd", "devices/platform/nct6775.656/hwmon/hwmon2/fan2_input"},
        HotMachine{"hot_laptop_intel", "devices/platform/thinkpad_hwmon/hwmon/hwmon2/fan1_input"}),
    [](const auto& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace linux_machine
