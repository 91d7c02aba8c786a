#include <gtest/gtest.h>

#include <memory>

#include "machines/linux/fans/fan_control.h"
#include "support/machine/faulty_tree.h"
#include "support/machine/machine_file.h"
#include "support/machine/memory_tree.h"
#include "support/machine/mode_rules.h"
#include "support/machine/test_surroundings.h"

// Forcing on machines whose chips have ways of their own, and giving back.

namespace linux_machine {
namespace {

/// A machine of tests/machines whose chip does with its modes as `chip` makes it.
class MachinesFans : public testing::Test {
 protected:
  void build(const std::string& machine, const std::string& folder) {
    folder_ = folder;
    tree_ = std::make_unique<MemoryTree>(read_machine(machine));
    let_modes_rule(*tree_);
    faulty_ = std::make_unique<FaultyTree>(*tree_);
    world_ = std::make_unique<TestSurroundings>(*faulty_);
  }
  void begin_run() {
    control_.reset();
    ledger_ = std::make_unique<Ledger>(world_->surroundings, "fans");
    control_ = std::make_unique<FanControl>(world_->surroundings, *ledger_,
                                            std::vector<WatchedTemperature>{},
                                            FanControl::Watching::by_caller);
  }
  std::string at(const std::string& attribute) const { return folder_ + "/" + attribute; }
  std::string shown(const std::string& attribute) const { return tree_->text(at(attribute)); }

  std::string folder_;
  std::unique_ptr<MemoryTree> tree_;
  std::unique_ptr<FaultyTree> faulty_;
  std::unique_ptr<TestSurroundings> world_;
  std::unique_ptr<Ledger> ledger_;
  std::unique_ptr<FanControl> control_;
};

class FanModes : public MachinesFans {
 protected:
  void SetUp() override {
    build("dell_mode_each", "devices/platform/dell_smm_hwmon/hwmon/hwmon2");
    tree_->put(at("pwm2"), "130");
    before_ = tree_->snapshot();
    begin_run();
  }
  std::map<std::string, std::string> before_;
};

TEST_F(FanModes, EachFanHasItsOwnAndGetsItBack) {
  ASSERT_EQ(control_->channels().size(), 2U);
  EXPECT_FALSE(control_->channels()[1].shares_switch);
  ASSERT_TRUE(control_->set_force_bits(3));
  EXPECT_EQ(shown("pwm1_enable"), "1");
  EXPECT_EQ(shown("pwm1"), "128");
  EXPECT_EQ(shown("pwm2_enable"), "1");
  EXPECT_EQ(shown("pwm2"), "130") << "what the chip shows as soon as it is manual";
  ASSERT_TRUE(control_->set_target_rpm(1, 5100));
  EXPECT_EQ(shown("pwm2"), "255");
  ASSERT_TRUE(control_->set_target_rpm(0, 4900));
  ASSERT_TRUE(control_->set_force_bits(0));
  EXPECT_EQ(shown("pwm1_enable"), "1") << "it was manual before";
  EXPECT_EQ(shown("pwm1"), "128");
  EXPECT_EQ(shown("pwm2_enable"), "2");
}

TEST_F(FanModes, OneThatShowsNoPwmInManualEitherIsHeldAtFullSpeed) {
  tree_->on_read(at("pwm2"), [](const std::string&) { return MemoryTree::Answer{"", -ENODATA}; });
  ASSERT_TRUE(control_->set_force_bits(2));
  EXPECT_EQ(shown("pwm2"), "255");
}

TEST_F(FanModes, AFaultAnywhereLeavesThemAsTheyWere) {
  for (int n = 1; n < 60; ++n) {
    begin_run();
    faulty_->fail(n, EIO, FaultyTree::For::once);
    const auto forced = control_->set_force_bits(3);
    faulty_->heal();
    if (forced) {
      ASSERT_TRUE(control_->set_force_bits(0)) << n;
    }
    EXPECT_EQ(shown("pwm1_enable"), "1") << n;
    EXPECT_EQ(shown("pwm2_enable"), "2") << n;
    EXPECT_EQ(shown("pwm1"), "128") << n;
    control_->set_force_bits(0);
  }
}

TEST_F(MachinesFans, TheFirmwaresOwnModeIsGivenBack) {
  build("firmware_mode_board", "devices/platform/nct6687.2592/hwmon/hwmon2");
  const auto before = tree_->snapshot();
  begin_run();
  EXPECT_EQ(control_->channels()[0].label, "CPU Fan");
  ASSERT_TRUE(control_->set_force_bits(7));
  for (const char* mode : {"pwm1_enable", "pwm2_enable", "pwm3_enable"}) {
    EXPECT_EQ(shown(mode), "1");
  }
  ASSERT_TRUE(control_->set_force_bits(0));
  EXPECT_EQ(tree_->snapshot(), before);
}

TEST_F(MachinesFans, APwmIsOpenedWhenItsModeLetsItBeWritten) {
  build("old_registration", "devices/platform/f71882fg.2560");
  const auto before = tree_->snapshot();
  begin_run();
  ASSERT_TRUE(control_->set_force_bits(3));
  EXPECT_EQ(shown("pwm1_enable"), "1");
  ASSERT_TRUE(control_->set_target_rpm(0, 1350));
  ASSERT_TRUE(control_->set_force_bits(0));
  EXPECT_EQ(tree_->snapshot(), before);
}

struct ChipUnderFaults {
  const char* machine;
  const char* folder;
  std::uint16_t fans;
};

class ChipFaults : public MachinesFans, public testing::WithParamInterface<ChipUnderFaults> {};

// From the search for fans on: a fault may cost a fan its key, or the forcing, and nothing else.
TEST_P(ChipFaults, AnywhereLeaveTheChipAsItWas) {
  const auto& [machine, folder, fans] = GetParam();
  build(machine, folder);
  const auto before = tree_->snapshot();
  for (const int error : {EIO, EBUSY, EACCES}) {
    for (const auto how_long : {FaultyTree::For::once, FaultyTree::For::ever}) {
      int failures = 0;
      bool reached = true;
      for (int n = 1; reached && !HasFailure(); ++n) {
        SCOPED_TRACE("access " + std::to_string(n) + ", error " + std::to_string(error));
        faulty_->fail(n, error, how_long);
        begin_run();
        const auto forced = control_->set_force_bits(fans);
        const auto told = forced ? control_->set_target_rpm(0, 1350) : forced;
        reached = faulty_->accesses() >= n;
        faulty_->heal();
        failures += told ? 0 : 1;
        if (!forced && how_long == FaultyTree::For::once) {
          EXPECT_EQ(tree_->snapshot(), before);
        }
        EXPECT_TRUE(control_->set_force_bits(0));
        EXPECT_EQ(tree_->snapshot(), before);
      }
      EXPECT_GT(failures, 10);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Every, ChipFaults,
    testing::Values(ChipUnderFaults{"firmware_mode_board",
                                    "devices/platform/nct6687.2592/hwmon/hwmon2", 7},
                    ChipUnderFaults{"old_registration", "devices/platform/f71882fg.2560", 3}),
    [](const auto& one) { return std::string(one.param.machine); });

TEST_F(MachinesFans, NothingIsForcedWherePerhapsNothingIsConnected) {
  build("unconnected_header", "devices/platform/nct6775.656/hwmon/hwmon2");
  const auto before = tree_->snapshot();
  begin_run();
  EXPECT_TRUE(control_->set_force_bits(1));
  const auto refused = control_->set_force_bits(3);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.failure().trouble, sysfs::Trouble::unsupported);
  EXPECT_NE(refused.failure().message.find("-a names the fans that turn"), std::string::npos);
  EXPECT_FALSE(control_->has_maximum(1));
  EXPECT_TRUE(control_->set_force_bits(0));
  EXPECT_EQ(tree_->snapshot(), before);
}

}  // namespace
}  // namespace linux_machine
