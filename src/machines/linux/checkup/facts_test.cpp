#include "machines/linux/checkup/facts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>

#include "machines/linux/fans/curve_file.h"
#include "machines/linux_kernel/linux_kernel.h"
#include "support/machine/machine_file.h"
#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

class FactsOf {
 public:
  explicit FactsOf(const std::string& text) : tree(text) {}

  Facts gather() { return gather_facts(machine(), world.surroundings, "/nonexistent/"); }
  Machine& machine() {
    if (!machine_) {
      machine_ = std::make_unique<Machine>(world.surroundings);
    }
    return *machine_;
  }

  void start_anew() { machine_.reset(); }

  /// Puts a file where the curve of a fan is kept.
  void keep_curve(std::size_t fan, const std::string& text) {
    const std::string& folder = world.surroundings.curves_folder;
    std::filesystem::create_directories(folder);
    std::ofstream(curve_path(folder, machine().fans().channels()[fan])) << text;
  }

  MemoryTree tree;
  TestSurroundings world{tree};

 private:
  std::unique_ptr<Machine> machine_;
};

std::string true_curve(const FanChannel& fan) {
  return curve_text(fan, *Curve::make({{48, 600}, {255, 2000}}, Curve::Stop::unproven, 60));
}

const std::string kLaptop = "laptop_intel_hwp";  // one package and psys, an unreadable power
const std::string kBoard = "two_socket_intel";

TEST(GatherFacts, OnAMachineWithNothingFindsNothing) {
  FactsOf machine("");
  const Facts facts = machine.gather();
  EXPECT_EQ(facts.keys, 0U);
  EXPECT_TRUE(facts.power.empty());
  EXPECT_TRUE(facts.fans.empty());
  EXPECT_FALSE(facts.watched_temperature);
  EXPECT_FALSE(facts.fan_daemon);
  EXPECT_EQ(facts.pstates, 0U);
  EXPECT_EQ(facts.pstate_driver, "");
  EXPECT_EQ(facts.pstate_trouble, "");
  EXPECT_TRUE(facts.left_behind.empty());
  EXPECT_TRUE(facts.vorn_capabilities.empty());
}

TEST(GatherFacts, ChangesNothing) {
  for (const std::string& name : all_machines()) {
    FactsOf machine(read_machine(name));
    const auto before = machine.tree.snapshot();
    machine.gather();
    EXPECT_EQ(machine.tree.writes(), 0) << name;
    EXPECT_EQ(machine.tree.snapshot(), before) << name;
    EXPECT_EQ(machine.tree.open_handles(), 0) << name;
    EXPECT_TRUE(std::filesystem::is_empty(machine.world.folder())) << name;
  }
}

TEST(GatherFacts, AsksTheKernelForFixedPriorities) {
  const Facts facts = FactsOf("").gather();
  EXPECT_EQ(facts.fixed_priority, linux_kernel::may_have_fixed_priority(64));
  EXPECT_EQ(facts.fixed_runtime_us, linux_kernel::fixed_priority_runtime_us());
}

TEST(GatherFacts, KnowsTheSuperuser) {
  FactsOf machine("");
  EXPECT_TRUE(machine.gather().superuser);
  machine.world.user = 1000;
  EXPECT_FALSE(machine.gather().superuser);
}

TEST(GatherFacts, CountsTheKeysAndTriesThePowers) {
  FactsOf machine(read_machine("zenpower_desktop"));  // whose power is a plain reading
  const Facts facts = machine.gather();
  EXPECT_EQ(facts.keys, machine.machine().keys().size());
  ASSERT_EQ(facts.power.size(), 1U);
  EXPECT_EQ(facts.power[0].name, "PC0C");
  EXPECT_TRUE(facts.power[0].readable);
  EXPECT_FALSE(facts.power[0].refused);
}

TEST(GatherFacts, TellsPowersThatAreRefused) {
  FactsOf machine(read_machine(kLaptop));
  machine.tree.superuser = false;
  const Facts facts = machine.gather();
  ASSERT_EQ(facts.power.size(), 2U);
  EXPECT_EQ(facts.power[1].name, "PS0C");
  for (const Facts::PowerKey& key : facts.power) {
    EXPECT_FALSE(key.readable);
    EXPECT_TRUE(key.refused);
  }
}

TEST(GatherFacts, TellsPowersThatDoNotAnswer) {
  const Facts facts = FactsOf(read_machine("trouble_everywhere")).gather();
  ASSERT_EQ(facts.power.size(), 3U);
  for (const Facts::PowerKey& key : facts.power) {
    EXPECT_FALSE(key.readable) << key.name;
    EXPECT_FALSE(key.refused) << key.name;
  }
}

TEST(GatherFacts, KnowsWhetherATemperatureCanBeWatched) {
  EXPECT_TRUE(FactsOf(read_machine(kBoard)).gather().watched_temperature);
  EXPECT_FALSE(FactsOf(read_machine("virtual_machine")).gather().watched_temperature);
}

TEST(GatherFacts, NamesTheFansAsTheirTargetsAndChannels) {
  FactsOf machine(read_machine(kBoard));
  const Facts facts = machine.gather();
  const auto channels = machine.machine().fans().channels();
  ASSERT_EQ(facts.fans.size(), channels.size());
  ASSERT_GE(facts.fans.size(), 2U);
  EXPECT_EQ(facts.fans[1].name, "F1Tg (nct6779 fan" + std::to_string(channels[1].channel) + ")");
  EXPECT_EQ(facts.fans[1].refusal, "");
  EXPECT_FALSE(facts.fans[1].has_curve);
  EXPECT_EQ(facts.fans[1].damaged, "");
}

TEST(GatherFacts, SaysWhyAFanCannotBeForced) {
  const Facts facts = FactsOf(
                          "link class/hwmon/hwmon0 -> ../../devices/x\n"
                          "0444 devices/x/name = nct6779\n"
                          "0444 devices/x/fan1_input = 900\n")
                          .gather();
  ASSERT_EQ(facts.fans.size(), 1U);
  EXPECT_TRUE(facts.fans[0].refusal.starts_with("devices/x/fan1_input: there is no devices/x/pwm1"))
      << facts.fans[0].refusal;
}

TEST(GatherFacts, SeesAProcessorAtItsLimit) {
  FactsOf machine(read_machine("unconnected_header"));
  EXPECT_FALSE(machine.gather().at_limit);
  machine.tree.put("devices/platform/coretemp.0/hwmon/hwmon1/temp1_input", "96000");
  const Facts facts = machine.gather();
  ASSERT_TRUE(facts.at_limit);
  EXPECT_EQ(facts.at_limit->celsius, 96);
  EXPECT_EQ(facts.at_limit->limit_c, 100);
}

TEST(GatherFacts, KnowsWhatAProcessorIsMadeToRunAt) {
  const Facts desktop = FactsOf(read_machine("hot_desktop_amd")).gather();
  ASSERT_TRUE(desktop.at_limit);
  EXPECT_EQ(desktop.at_limit->limit_c, 95);
  const Facts laptop = FactsOf(read_machine("hot_laptop_intel")).gather();
  ASSERT_TRUE(laptop.at_limit);
  EXPECT_EQ(laptop.at_limit->celsius, 96);
  EXPECT_EQ(laptop.at_limit->limit_c, 100);
}

TEST(GatherFacts, SeesWhatFansAreLike) {
  const Facts empty_header = FactsOf(read_machine("unconnected_header")).gather();
  EXPECT_EQ(empty_header.fans[1].connection, FanChannel::Connection::doubtful);
  EXPECT_TRUE(FactsOf(read_machine("dell_laptop")).gather().fans[0].keeps_no_mode);
  EXPECT_FALSE(FactsOf(read_machine("dell_mode_each")).gather().fans[0].keeps_no_mode);
  const Facts many = FactsOf(read_machine("many_fans")).gather();
  EXPECT_FALSE(many.fans[2].beyond_forced);
  EXPECT_TRUE(many.fans[3].beyond_forced);
  EXPECT_FALSE(many.fans[6].beyond_forced) << "which stands still";
}

TEST(GatherFacts, KnowsAMaximumFromTheChipOrACurve) {
  FactsOf machine(read_machine(kBoard));
  EXPECT_FALSE(machine.gather().fans[0].has_maximum);
  EXPECT_TRUE(FactsOf(read_machine("dell_laptop")).gather().fans[0].has_maximum);
  machine.keep_curve(0, true_curve(machine.machine().fans().channels()[0]));
  machine.start_anew();
  EXPECT_TRUE(machine.gather().fans[0].has_maximum);
}

TEST(GatherFacts, TellsCurvesThatAreThereFromDamagedOnes) {
  FactsOf machine(read_machine(kBoard));
  machine.keep_curve(0, true_curve(machine.machine().fans().channels()[0]));
  machine.keep_curve(1, "half a cur");
  const Facts facts = machine.gather();
  EXPECT_TRUE(facts.fans[0].has_curve);
  EXPECT_EQ(facts.fans[0].damaged, "");
  EXPECT_FALSE(facts.fans[1].has_curve);
  EXPECT_NE(facts.fans[1].damaged.find("does not begin with"), std::string::npos)
      << facts.fans[1].damaged;
}

TEST(GatherFacts, SeesARunningFanDaemon) {
  FactsOf machine("");
  machine.world.proc.put("1/comm", "init\n");
  machine.world.proc.put("812/comm", "fancontrol\n");
  EXPECT_EQ(machine.gather().fan_daemon, "fancontrol");
}

TEST(GatherFacts, CountsThePStates) {
  const Facts facts = FactsOf(read_machine(kLaptop)).gather();
  EXPECT_EQ(facts.pstates, 44U);  // 4.7 GHz down to 0.4 GHz by 0.1
  EXPECT_EQ(facts.pstate_driver, "intel_pstate");
  EXPECT_EQ(facts.pstate_trouble, "");
}

TEST(GatherFacts, SaysWhyPStatesCannotBeRead) {
  const Facts facts = FactsOf(read_machine("trouble_everywhere")).gather();
  EXPECT_EQ(facts.pstates, 0U);
  EXPECT_NE(facts.pstate_trouble.find("devices/system/cpu/"), std::string::npos)
      << facts.pstate_trouble;
}

TEST(GatherFacts, SeesWhatARunLeftChanged) {
  FactsOf machine("");
  const std::string& state = machine.world.surroundings.state_folder;
  std::filesystem::create_directories(state);
  std::ofstream(state + "/fans") << "";  // held and given back
  std::ofstream(state + "/P-states") << "set devices/x 1\n";
  EXPECT_EQ(machine.gather().left_behind, std::vector<std::string>{"P-states"});
}

}  // namespace
}  // namespace linux_machine
