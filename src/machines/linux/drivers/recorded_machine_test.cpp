#include "machines/linux/drivers/recorded_machine.h"

#include <gtest/gtest.h>

#include <cmath>

#include "machines/linux/cpufreq/pstates.h"
#include "machines/linux/drivers/machine.h"
#include "support/machine/energy_flow.h"
#include "support/machine/machine_file.h"

namespace linux_machine {
namespace {

/// What a machine lists: of each key its source and value, or why there is none.
std::vector<std::string> listed_on(const Surroundings& surroundings) {
  std::vector<std::string> lines;
  const Machine machine(surroundings);
  for (const Key& key : machine.keys()) {
    std::string line = key.name() + " " + key.source;
    if (!key.moves_fan_when_read) {
      const auto value = key.connect ? key.connect()->read() : key.read();
      line += value ? " " + std::to_string(std::lround(10 * *value)) : value.failure().message;
    }
    lines.push_back(line);
  }
  for (const WatchedTemperature& one : machine.temperatures()) {
    lines.push_back(one.attribute + " " + std::to_string(one.critical_c));
  }
  if (const auto cpufreq = read_cpufreq(surroundings.sys)) {
    lines.push_back(std::to_string(count_pstates(cpufreq->policies)));
  }
  return lines;
}

class RecordedMachines : public testing::TestWithParam<std::string> {};

TEST_P(RecordedMachines, ListWhatTheMachineLists) {
  MemoryTree tree(read_machine(GetParam()));
  const TestSurroundings world(tree);
  let_energy_flow(tree, world, 40);
  const auto entries = read_machine_text(record_machine(world.surroundings, 3));
  ASSERT_TRUE(entries) << entries.failure().message;
  const RecordedMachine record(*entries, [](const std::string&) {});
  EXPECT_EQ(listed_on(record.surroundings()), listed_on(world.surroundings));
}

TEST_P(RecordedMachines, AreNotChangedByTheRecord) {
  MemoryTree tree(read_machine(GetParam()));
  const TestSurroundings world(tree);
  record_machine(world.surroundings, 2);
  EXPECT_EQ(tree.writes(), 0);
  EXPECT_EQ(tree.open_handles(), 0);
}

std::string power_source(const Surroundings& surroundings) {
  for (const std::string& line : listed_on(surroundings)) {
    if (line.starts_with("PC0C ")) {
      return line;
    }
  }
  return "";
}

// Zones that mirror one counter and zones that are added differ by the processor's vendor alone.
TEST(RecordedMachineOf, AmdCountsAPackageOnceByTheVendorInTheRecord) {
  MemoryTree tree(read_machine("amd_die_zones"));
  const TestSurroundings world(tree);
  let_energy_flow(tree, world, 40);
  auto entries = read_machine_text(record_machine(world.surroundings, 3));
  ASSERT_TRUE(entries) << entries.failure().message;
  const auto ignore = [](const std::string&) {};
  const RecordedMachine record(*entries, ignore);
  EXPECT_EQ(power_source(record.surroundings()), power_source(world.surroundings));
  const std::size_t erased = std::erase_if(*entries, [](const MachineEntry& entry) {
    return entry.path == "devices/system/cpu/modalias";
  });
  EXPECT_EQ(erased, 1U);
  const RecordedMachine without(*entries, ignore);
  EXPECT_NE(power_source(without.surroundings()), power_source(world.surroundings));
}

INSTANTIATE_TEST_SUITE_P(Machines, RecordedMachines, testing::ValuesIn(all_machines()),
                         [](const auto& one) { return one.param; });

}  // namespace
}  // namespace linux_machine
