#include "machines/linux/fans/channel.h"

#include <gtest/gtest.h>

#include "machines/linux/fans/fan_survey.h"
#include "support/machine/machine_file.h"
#include "support/machine/memory_tree.h"

namespace linux_machine {
namespace {

/// A device in the tree, as hwmon<number>.
class Device {
 public:
  Device(MemoryTree& tree, int number, const std::string& device, const std::string& chip)
      : tree_(tree), folder_(device + "/hwmon/hwmon" + std::to_string(number)) {
    tree.link("class/hwmon/hwmon" + std::to_string(number), "../../" + folder_);
    tree.put(folder_ + "/name", chip, 0444);
  }
  Device& with(const std::string& attribute, const std::string& text, int mode = 0644) {
    tree_.put(folder_ + "/" + attribute, text, mode);
    return *this;
  }
  Device& fan(int channel, int rpm) {
    const std::string n = std::to_string(channel);
    return with("fan" + n + "_input", std::to_string(rpm), 0444)
        .with("pwm" + n, "100")
        .with("pwm" + n + "_enable", "2");
  }
  const std::string& folder() const { return folder_; }

 private:
  MemoryTree& tree_;
  const std::string folder_;
};

class ChannelTest : public testing::Test {
 protected:
  std::vector<FanChannel> find(const std::string& device_with_curve = "") {
    return find_fans(tree_, {.measured = [&](const FanChannel& fan) {
                       return fan.device == device_with_curve ? Measured::turns : Measured::not_yet;
                     }});
  }
  std::vector<std::string> names(const std::string& device_with_curve = "") {
    std::vector<std::string> all;
    for (const FanChannel& fan : find(device_with_curve)) {
      all.push_back(fan.device + " " + std::to_string(fan.channel));
    }
    return all;
  }
  std::string refusal(const std::string& chip) {
    Device(tree_, 0, "devices/x", chip).fan(1, 900);
    const auto fans = find();
    return fans.empty() ? "not found" : fans[0].refusal;
  }

  MemoryTree tree_;
};

TEST_F(ChannelTest, FindsAFanWithItsPlaceAndLabel) {
  Device(tree_, 3, "devices/platform/nct6775.656", "nct6779")
      .fan(2, 1098)
      .with("fan2_label", "CPU_FAN");
  const auto fans = find();
  ASSERT_EQ(fans.size(), 1U);
  EXPECT_EQ(fans[0].folder, "devices/platform/nct6775.656/hwmon/hwmon3");
  EXPECT_EQ(fans[0].device, "devices/platform/nct6775.656");
  EXPECT_EQ(fans[0].chip, "nct6779");
  EXPECT_EQ(fans[0].label, "CPU_FAN");
  EXPECT_TRUE(fans[0].controllable());
  EXPECT_EQ(fans[0].enable(), "devices/platform/nct6775.656/hwmon/hwmon3/pwm2_enable");
}

TEST_F(ChannelTest, OrderDoesNotFollowTheNumbersOfHwmon) {
  Device(tree_, 0, "devices/z", "nct6779").fan(1, 900);
  Device(tree_, 1, "devices/a", "nct6779").fan(10, 900).fan(2, 900);
  EXPECT_EQ(names(), (std::vector<std::string>{"devices/a 2", "devices/a 10", "devices/z 1"}));
}

TEST_F(ChannelTest, FansThatTurnOrWereMeasuredComeFirst) {
  Device(tree_, 0, "devices/a", "nct6779").fan(1, 0).fan(2, -1).fan(3, 500);
  Device(tree_, 1, "devices/b", "it8728").fan(1, 0);
  EXPECT_EQ(names(),
            (std::vector<std::string>{"devices/a 3", "devices/a 1", "devices/a 2", "devices/b 1"}));
  EXPECT_EQ(names("devices/b"),
            (std::vector<std::string>{"devices/a 3", "devices/b 1", "devices/a 1", "devices/a 2"}));
}

TEST_F(ChannelTest, GraphicsCardsAndPowerSuppliesKeepTheirFans) {
  for (const char* chip : {"amdgpu", "radeon", "nouveau", "xe", "i915", "corsairpsu"}) {
    EXPECT_EQ(refusal(chip), "not found") << chip;
  }
}

TEST_F(ChannelTest, SomeCanBeReadAndNotForced) {
  for (const char* chip : {"pwmfan", "asus", "asus_custom_fan_curve", "hp", "nct6683",
                           "corsaircpro", "aquacomputer"}) {
    const std::string why = refusal(chip);
    EXPECT_NE(why.find("devices/x/hwmon/hwmon0/fan1_input: "), std::string::npos) << chip << why;
  }
  EXPECT_EQ(refusal("it8728"), "");
}

TEST_F(ChannelTest, AMissingAttributeIsNamed) {
  Device(tree_, 0, "devices/x", "it8728").with("fan1_input", "900", 0444);
  EXPECT_NE(find()[0].refusal.find("there is no devices/x/hwmon/hwmon0/pwm1 "), std::string::npos);
  Device(tree_, 0, "devices/x", "it8728").with("pwm1", "100");
  EXPECT_NE(find()[0].refusal.find("pwm1_enable"), std::string::npos);
}

TEST_F(ChannelTest, FirmwareMayKeepAFanToItself) {
  Device(tree_, 0, "devices/x", "nct6797").fan(1, 900).with("pwm1_enable", "99");
  EXPECT_NE(find()[0].refusal.find("pwm1_enable: the firmware"), std::string::npos);
}

TEST_F(ChannelTest, SomeFirmwareTakesItsModeBack) {
  Device(tree_, 0, "devices/x", "nct6687").fan(1, 900).with("pwm1_enable", "99");
  EXPECT_EQ(find()[0].refusal, "");
}

TEST_F(ChannelTest, AFanThatStandsAndWasNeverMeasuredIsPerhapsNotThere) {
  Device(tree_, 0, "devices/a", "nct6798").fan(1, 0).fan(2, 1764);
  const auto fans = find();
  EXPECT_EQ(fans[0].channel, 2);
  EXPECT_EQ(fans[1].connection, FanChannel::Connection::doubtful);
  EXPECT_FALSE(fans[1].controllable());
  EXPECT_TRUE(fans[1].measurable);
  EXPECT_EQ(
      fans[1].refusal,
      "devices/a/hwmon/hwmon0/fan1_input: it stands still and was never measured: perhaps "
      "nothing is connected there; -a names the fans that turn, and vorn-keys --calibrate finds "
      "out");
  EXPECT_TRUE(find("devices/a")[1].controllable()) << "with a measured curve it is one";
}

TEST_F(ChannelTest, AFanOfALaptopIsThereThoughItStands) {
  for (const char* chip : {"thinkpad", "dell_smm", "cros_ec"}) {
    EXPECT_EQ(refusal(chip), "");
    Device(tree_, 0, "devices/x", chip).fan(1, 0);
    EXPECT_EQ(find()[0].refusal, "") << chip;
  }
}

TEST_F(ChannelTest, AFanThatDidNotTurnWhenItWasMeasuredIsForcedOnlyIfItTurns) {
  const auto find_still = [this] {
    return find_fans(tree_, {.measured = [](const FanChannel&) { return Measured::stands; }}).at(0);
  };
  Device(tree_, 0, "devices/a", "nct6798").fan(1, 0);
  EXPECT_EQ(find_still().connection, FanChannel::Connection::none);
  EXPECT_FALSE(find_still().controllable());
  Device(tree_, 0, "devices/a", "nct6798").fan(1, 500);
  EXPECT_EQ(find_still().refusal, "");
}

TEST_F(ChannelTest, OnlyTheFirstThreeCanBeForced) {
  Device device(tree_, 0, "devices/a", "nct6798");
  for (int n = 1; n <= 12; ++n) {
    device.fan(n, 900);
  }
  const auto fans = find();
  ASSERT_EQ(fans.size(), kMostFans);
  for (std::size_t n = 0; n < fans.size(); ++n) {
    EXPECT_EQ(fans[n].controllable(), n < 3) << n;
    EXPECT_TRUE(fans[n].measurable) << n;
  }
}

/// Of a machine of tests/machines: chip and channel.
std::vector<std::string> fans_of(const std::string& machine,
                                 std::vector<Assignment> assigned = {}) {
  MemoryTree tree(read_machine(machine));
  std::vector<std::string> all;
  for (const FanChannel& fan :
       find_fans(tree, {.measured = [](const FanChannel&) { return Measured::not_yet; },
                       .assigned = std::move(assigned)})) {
    all.push_back(fan.chip + " " + std::to_string(fan.channel));
  }
  return all;
}

TEST(FanOrder, LabelledFirstThenTheBoardsThenThoseOfHubsThenWhatStands) {
  EXPECT_EQ(fans_of("many_fans"),
            (std::vector<std::string>{"nct6799 2", "nct6799 5", "nct6799 1", "nct6799 3",
                                      "nct6799 7", "corsaircpro 1", "nct6799 4", "nct6799 6"}));
}

TEST(FanOrder, AnAssignedFanHasItsNumber) {
  constexpr const char* kBoard = "devices/platform/nct6775.656";
  EXPECT_EQ(fans_of("many_fans", {{.number = 0, .device = kBoard, .channel = 4},
                                  {.number = 2, .device = kBoard, .channel = 5},
                                  {.number = 9, .device = kBoard, .channel = 1},
                                  {.number = 1, .device = "devices/gone", .channel = 1}}),
            (std::vector<std::string>{"nct6799 4", "nct6799 2", "nct6799 5", "nct6799 1",
                                      "nct6799 3", "nct6799 7", "corsaircpro 1", "nct6799 6"}));
}

TEST(FanOrder, AFanThatSeveralDriversShowIsThereOnce) {
  EXPECT_EQ(fans_of("laptop_three_views"), (std::vector<std::string>{"dell_smm 1", "dell_smm 2"}));
}

TEST(FanOrder, OldDriversKeepTheirFansInTheDevicesFolder) {
  EXPECT_EQ(fans_of("old_registration"), (std::vector<std::string>{"f71882fg 1", "f71882fg 2"}));
}

TEST_F(ChannelTest, AFanThatCannotBeReadIsNone) {
  Device(tree_, 0, "devices/x", "it8728").fan(1, 900).fan(2, 900);
  tree_.fail("devices/x/hwmon/hwmon0/fan1_input", ENODATA);
  EXPECT_EQ(names(), std::vector<std::string>{"devices/x 2"});
}

TEST_F(ChannelTest, OneSwitchServesAllFansOfAChip) {
  Device(tree_, 0, "devices/x", "dell_smm").fan(1, 900).fan(2, 900).with("pwm1_enable", "", 0200);
  tree_.remove("devices/x/hwmon/hwmon0/pwm2_enable");
  EXPECT_EQ(find()[1].enable(), "devices/x/hwmon/hwmon0/pwm1_enable");
  EXPECT_TRUE(find()[1].controllable());
}

TEST_F(ChannelTest, PumpsAreKnownByTheirLabel) {
  FanChannel fan;
  for (const char* label : {"AIO_PUMP", "Water Pump", "pump", "CPU AIO"}) {
    fan.label = label;
    EXPECT_TRUE(fan.is_pump()) << label;
  }
  fan.label = "CPU_FAN";
  EXPECT_FALSE(fan.is_pump());
}

TEST_F(ChannelTest, MinusOneIsAFanAtRestAndOtherNegativesAreNonsense) {
  EXPECT_DOUBLE_EQ(*speed_said("f", -1), 0);
  EXPECT_DOUBLE_EQ(*speed_said("f", 0), 0);
  EXPECT_DOUBLE_EQ(*speed_said("f", 1098), 1098);
  EXPECT_FALSE(speed_said("f", -2));
  EXPECT_TRUE(speed_said("f", 16'383));
  EXPECT_FALSE(speed_said("f", 16'384));  // the keys cannot say it
}

TEST(Chips, AMayShowManualAtFullPwmAsFullSpeed) {
  EXPECT_TRUE(is_mode(chip_named("nct6779"), 0, 1));
  EXPECT_FALSE(is_mode(chip_named("nct6779"), 2, 1));
  EXPECT_FALSE(is_mode(chip_named("nct6779"), 0, 2));
  EXPECT_FALSE(is_mode(chip_named("max31790"), 0, 1));
}

TEST(Chips, TargetsOfTheOrdinaryBoardChipsAreNotUsed) {
  EXPECT_EQ(chip_named("nct6779").target_mode, std::nullopt);
  EXPECT_EQ(chip_named("f71805f").target_mode, 3);
  EXPECT_EQ(chip_named("max31790").target_mode, 2);
  EXPECT_EQ(chip_named("gpio_fan").target_mode, 1);
}

TEST_F(ChannelTest, AFanLabelledForGraphicsIsNoneOfOurs) {
  Device(tree_, 0, "devices/x", "dell_smm")
      .fan(1, 2400)
      .with("fan1_label", "Processor Fan")
      .fan(2, 2400)
      .with("fan2_label", "Video Fan")
      .fan(3, 2400)
      .with("fan3_label", "GPU Fan");
  EXPECT_EQ(names(), std::vector<std::string>{"devices/x 1"});
}

TEST_F(ChannelTest, FansThatCanBeControlledComeBeforeThoseThatCannot) {
  Device(tree_, 0, "devices/a", "hp").fan(1, 900).fan(2, 900);
  Device(tree_, 1, "devices/b", "it8728").fan(1, 0).fan(2, 700);
  EXPECT_EQ(names(),
            (std::vector<std::string>{"devices/b 2", "devices/a 1", "devices/a 2", "devices/b 1"}));
}

TEST_F(ChannelTest, FansOfTheBoardComeBeforeThoseOfAHub) {
  Device(tree_, 0, "devices/pci0000:00/usb1/1-3", "it8728").fan(1, 900);
  Device(tree_, 1, "devices/platform/it87.2624", "it8728").fan(1, 900);
  EXPECT_EQ(names(), (std::vector<std::string>{"devices/platform/it87.2624 1",
                                               "devices/pci0000:00/usb1/1-3 1"}));
}

TEST_F(ChannelTest, AMeterOfWaterFlowIsNoFan) {
  Device(tree_, 0, "devices/x", "it8728")
      .fan(1, 900)
      .fan(2, 300)
      .with("fan2_label", "Water Flow")
      .fan(3, 300)
      .with("fan3_label", "W_FLOW");
  EXPECT_EQ(names(), std::vector<std::string>{"devices/x 1"});
}

}  // namespace
}  // namespace linux_machine
