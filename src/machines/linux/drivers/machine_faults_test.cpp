#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <tuple>

#include "machines/linux/drivers/composition.h"
#include "support/machine/cpufreq_fixture.h"
#include "support/machine/fan_fixture.h"
#include "support/machine/turns.h"

// A whole machine, through its drivers, while each of its accesses in turn fails.

namespace linux_machine {
namespace {

using controller::four_characters;

constexpr const char* kEnergy = "class/powercap/intel-rapl:0/energy_uj";

std::string fan_text(const std::string& board, const std::string& n) {
  return "0444 " + board + "/fan" + n + "_input = 0\n" +  //
         "0644 " + board + "/pwm" + n + " = 100\n" +      //
         "0644 " + board + "/pwm" + n + "_enable = 5\n";
}

/// A board with two fans, a processor with a temperature and an energy counter, and two policies.
std::string machine_text(const std::vector<MovingFan>& fans) {
  const std::string board = FanFixture::kFolder;
  const std::string package = "devices/platform/coretemp.0/hwmon/hwmon0";
  std::string text = "link class/hwmon/hwmon2 -> ../../" + board + "\n" +         //
                     "link class/hwmon/hwmon0 -> ../../" + package + "\n" +       //
                     "0444 " + package + "/name = coretemp\n" +                   //
                     "0444 " + package + "/temp1_label = Package id 0\n" +        //
                     "0444 " + package + "/temp1_input = 50000\n" +               //
                     "0444 " + package + "/temp1_crit = 100000\n" +               //
                     "0444 class/powercap/intel-rapl:0/name = package-0\n" +      //
                     "0444 class/powercap/intel-rapl:0/max_energy_range_uj = " +  //
                     "262143328850\n" +                                           //
                     "0400 " + kEnergy + " = 1000000\n" +                         //
                     "0444 " + board + "/name = nct6779\n";
  for (const MovingFan& fan : fans) {
    text += fan_text(board, std::to_string(fan.channel));
  }
  return text + MovingFans::state_files(fans) + turbo_machine();
}

class WholeMachine {
 public:
  WholeMachine() {
    // 40 W, as the test clock goes.
    tree_.on_read(kEnergy, [this](const std::string& stored) {
      return MemoryTree::Answer{
          std::to_string(std::stoll(stored) + (world.now_ns - kStartNs) / 1000 * 40), 0};
    });
  }

  void find() { machine_ = std::make_unique<Machine>(world.surroundings); }

  /// Opens the drivers that there are.
  void connect() {
    for (const kx::Node& node : compose(*machine_)) {
      drivers_.push_back(node.driver);  // a plugin's outlives its connections
      if (node.driver->classes().front() == kSMCServiceClass) {
        EXPECT_EQ(node.driver->open(kSMCConnectionType, controller_), kKxReturnSuccess);
        EXPECT_EQ(controller_->scalar_method(kSMCSelectorOpen, {}, {}), kKxReturnSuccess);
      } else {
        EXPECT_EQ(node.driver->open(kPluginType, plugin_), kKxReturnSuccess);
      }
    }
  }

  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const Key& key : machine_->keys()) {
      all.push_back(key.name());
    }
    return all;
  }

  /// One transaction. What fails must have been reported with the key and an attribute.
  void transact(const std::string& name, std::uint8_t command, std::uint32_t value = 0) {
    SMCParamStruct request{};
    request.key = four_characters({name[0], name[1], name[2], name[3], '\0'});
    request.command = command;
    request.info.dataSize = 2;
    request.bytes[0] = static_cast<std::uint8_t>(value >> 8U);
    request.bytes[1] = static_cast<std::uint8_t>(value);
    SMCParamStruct reply{};
    std::size_t size = 0;
    const kx_return_t code = controller_->structure_method(
        kSMCSelectorTransaction, std::as_bytes(std::span(&request, 1)),
        std::as_writable_bytes(std::span(&reply, 1)), size);
    if (code != kKxReturnSuccess) {
      ++failures;
      EXPECT_TRUE(told(name + ": ", "devices/") || told(name + ": ", "class/")) << name;
    }
    EXPECT_EQ(reply.result, 0) << name;
  }

  void step(std::uint32_t n) {
    const std::array<std::uint32_t, 1> inputs{n};
    const kx_return_t code = plugin_->scalar_method(3, inputs, {});
    if (code != kKxReturnSuccess) {
      ++failures;
      EXPECT_TRUE(told("", "devices/system/cpu/")) << n;
    }
  }

  /// What a run does at its end.
  void end_run() {
    EXPECT_TRUE(machine_->fans().set_force_bits(0));
    plugin_.reset();
  }

  /// All that a run may change, once the kernel has applied what is on its way.
  std::map<std::string, std::string> state() {
    world.now_ns += kNsPerS;
    std::map<std::string, std::string> all = cpufreq_.snapshot();
    for (const char* name : {"pwm1", "pwm1_enable", "pwm2", "pwm2_enable"}) {
      const auto text = sysfs::read_text(cpufreq_, FanFixture::attribute(name));
      all[name] = text ? *text : text.failure().message;
    }
    return all;
  }

  int open_handles() { return tree_.open_handles(); }

  int failures = 0;  ///< calls that returned another code than success

 private:
  static constexpr std::uint32_t kPluginType = 0x50505543;
  static constexpr std::int64_t kStartNs = 1'000'000'000'000;  // of the test clock

  bool told(const std::string& beginning, const std::string& attribute) {
    const std::vector<std::string> all = world.reports();
    return std::any_of(all.begin(), all.end(), [&](const std::string& line) {
      return line.starts_with(beginning) && line.find(attribute) != std::string::npos;
    });
  }

  std::vector<MovingFan> fans_ = FanFixture::two_fans();
  MemoryTree tree_{LateCpufreq::with_moving(machine_text(fans_))};
  MovingFans moving_{tree_, fans_, [this] { return world.now_ns.load(); }};
  LateCpufreq cpufreq_{moving_, [this] { return world.now_ns.load(); }, 50 * kNsPerMs};

 public:
  FaultyTree faulty{cpufreq_};
  TestSurroundings world{faulty};

 private:
  std::unique_ptr<Machine> machine_;
  std::vector<std::shared_ptr<kx::Driver>> drivers_;
  std::unique_ptr<kx::UserClient> controller_;
  std::unique_ptr<kx::UserClient> plugin_;
};

struct Case {
  const char* name;
  void (*operation)(WholeMachine&);
};

std::ostream& operator<<(std::ostream& out, const Case& one) {
  return out << one.name;
}

void transact_with_all(WholeMachine& machine, std::uint8_t command) {
  for (const std::string& name : machine.names()) {
    machine.transact(name, command);
  }
}

const Case kCases[] = {
    {"DescribingAllKeys",
     [](WholeMachine& machine) { transact_with_all(machine, kSMCCommandKeyInfo); }},
    // Maxima are measured for it.
    {"ReadingAllKeys", [](WholeMachine& machine) { transact_with_all(machine, kSMCCommandRead); }},
    {"ForcingAFan",
     [](WholeMachine& machine) {
       machine.transact("FS! ", kSMCCommandWrite, 1);
       machine.transact("F0Tg", kSMCCommandWrite, 1200 * 4);
       machine.transact("FS! ", kSMCCommandWrite, 0);
     }},
    {"ForcingAPState",
     [](WholeMachine& machine) {
       machine.step(100 + 43);
       machine.step(0);
     }},
};

// Not ENODEV or ENOENT: what has gone is not put back.
constexpr int kErrors[] = {EIO, EBUSY, EACCES};
constexpr FaultyTree::For kDurations[] = {FaultyTree::For::once, FaultyTree::For::ever};

using Fault = std::tuple<int, FaultyTree::For>;

/// The accesses that `fault` is to hit.
Turns turns_of(const Fault& fault) {
  const auto* const error = std::find(std::begin(kErrors), std::end(kErrors), std::get<0>(fault));
  const int number = static_cast<int>(error - std::begin(kErrors));
  const int once = std::get<1>(fault) == FaultyTree::For::once ? 0 : 1;
  return turns(2 * number + once, 2 * static_cast<int>(std::size(kErrors)));
}

std::string fault_name(const Fault& fault) {
  return std::string(strerrorname_np(std::get<0>(fault))) +
         (std::get<1>(fault) == FaultyTree::For::once ? "Once" : "Ever");
}

class MachineFaults : public testing::TestWithParam<std::tuple<Case, int, FaultyTree::For>> {};

/// How many accesses there are if none fails; and then nothing does.
int accesses_of(const Case& one) {
  WholeMachine machine;
  machine.find();
  machine.connect();
  const auto before = machine.state();
  machine.faulty.fail(0, 0, FaultyTree::For::once);
  one.operation(machine);
  EXPECT_EQ(machine.failures, 0);
  EXPECT_EQ(machine.state(), before);
  return machine.faulty.accesses();
}

TEST_P(MachineFaults, CostAnAnswerAndLeaveTheMachineAsItWas) {
  const auto& [one, error, how_long] = GetParam();
  const int accesses = accesses_of(one);
  int failures = 0;
  for (int access = 1; access <= accesses && !HasFailure(); ++access) {
    SCOPED_TRACE("access " + std::to_string(access));
    WholeMachine machine;
    machine.find();
    machine.connect();
    const auto before = machine.state();
    machine.faulty.fail(access, error, how_long);
    one.operation(machine);
    machine.faulty.heal();
    failures += machine.failures;
    if (how_long == FaultyTree::For::once) {
      EXPECT_EQ(machine.state(), before);
    }
    machine.end_run();
    EXPECT_EQ(machine.state(), before);
  }
  const bool only_looks = one.name == std::string("DescribingAllKeys");
  EXPECT_EQ(failures > accesses / 5, !only_looks) << failures << " of " << accesses;
}

INSTANTIATE_TEST_SUITE_P(Every, MachineFaults,
                         testing::Combine(testing::ValuesIn(kCases), testing::ValuesIn(kErrors),
                                          testing::ValuesIn(kDurations)),
                         [](const auto& test) {
                           return std::get<0>(test.param).name +
                                  fault_name(
                                      Fault(std::get<1>(test.param), std::get<2>(test.param)));
                         });

// What was forced on the way is not left until the run ends.
TEST(MachineFault, ThatLetsForcingFailLeavesNothingForced) {
  void (*const kForcings[])(WholeMachine&) = {
      [](WholeMachine& machine) { machine.transact("FS! ", kSMCCommandWrite, 3); },
      [](WholeMachine& machine) { machine.step(100 + 43); }};
  for (const auto forcing : kForcings) {
    int failures = 0;
    for (int access = 1;; ++access) {
      SCOPED_TRACE("access " + std::to_string(access));
      WholeMachine machine;
      machine.find();
      machine.connect();
      const auto before = machine.state();
      machine.faulty.fail(access, EIO, FaultyTree::For::once);
      forcing(machine);
      if (machine.faulty.accesses() < access) {
        break;
      }
      machine.faulty.heal();
      failures += machine.failures;
      EXPECT_EQ(machine.state() == before, machine.failures == 1);
    }
    EXPECT_GT(failures, 5);
  }
}

class FindingFaults : public testing::TestWithParam<Fault> {};

TEST_P(FindingFaults, CostAKeyAndChangeNothing) {
  const auto& [error, how_long] = GetParam();
  WholeMachine healthy;
  healthy.find();
  const int accesses = healthy.faulty.accesses();
  const std::vector<std::string> all = healthy.names();
  const std::set<std::string> there(all.begin(), all.end());
  EXPECT_EQ(there.size(), 10U);
  const auto [first, step] = turns_of(GetParam());
  int missing = 0;
  for (int access = first; access <= accesses && !HasFailure(); access += step) {
    SCOPED_TRACE("access " + std::to_string(access));
    WholeMachine machine;
    const auto before = machine.state();
    machine.faulty.fail(access, error, how_long);
    machine.find();
    machine.faulty.heal();
    const std::vector<std::string> found = machine.names();
    missing += found.size() < all.size();
    for (const std::string& name : found) {
      EXPECT_TRUE(there.contains(name)) << name;
    }
    EXPECT_EQ(machine.state(), before);
    EXPECT_EQ(machine.open_handles(), 0);

    // What was found can be used, now that the machine is well again.
    machine.connect();
    transact_with_all(machine, kSMCCommandRead);
    EXPECT_EQ(machine.failures, 0);
    machine.end_run();
    EXPECT_EQ(machine.state(), before);
  }
  EXPECT_GT(missing, 0);
}

INSTANTIATE_TEST_SUITE_P(Every, FindingFaults,
                         testing::Combine(testing::ValuesIn(kErrors),
                                          testing::ValuesIn(kDurations)),
                         [](const auto& test) { return fault_name(test.param); });

}  // namespace
}  // namespace linux_machine
