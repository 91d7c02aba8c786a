#include "machines/linux/fans/channel.h"

#include <gtest/gtest.h>

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
    return find_fans(tree_, [&](const FanChannel& fan) { return fan.device == device_with_curve; });
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
  EXPECT_EQ(names(), (std::vector<std::string>{"devices/a 3", "devices/a 1", "devices/a 2"}));
  EXPECT_EQ(names("devices/b"),
            (std::vector<std::string>{"devices/a 3", "devices/b 1", "devices/a 1"}));
}

TEST_F(ChannelTest, GraphicsCardsAndPowerSuppliesKeepTheirFans) {
  for (const char* chip : {"amdgpu", "radeon", "nouveau", "xe", "i915", "corsairpsu"}) {
    EXPECT_EQ(refusal(chip), "not found") << chip;
  }
}

TEST_F(ChannelTest, SomeCanBeReadAndNotForced) {
  for (const char* chip : {"pwmfan", "asus", "asus_custom_fan_curve", "hp", "nct6683", "nct6687",
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

TEST_F(ChannelTest, AFanThatCannotBeReadIsNone) {
  Device(tree_, 0, "devices/x", "it8728").fan(1, 900).fan(2, 900);
  tree_.fail("devices/x/hwmon/hwmon0/fan1_input", ENODATA);
  EXPECT_EQ(names(), std::vector<std::string>{"devices/x 2"});
}

TEST_F(ChannelTest, OneSwitchServesAllFansOfAChip) {
  Device(tree_, 0, "devices/x", "dell_smm").fan(1, 900).fan(2, 900).with("pwm1_enable", "", 0200);
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
  EXPECT_EQ(names(), (std::vector<std::string>{"devices/b 2", "devices/b 1", "devices/a 1"}));
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
