#include "machines/linux/record/recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "support/machine/machine_file.h"
#include "support/machine/memory_tree.h"

namespace linux_machine {
namespace {

class RecorderTest : public testing::Test {
 protected:
  static constexpr std::int64_t kSecond = 1'000'000'000;

  /// The lines of a record with `readings` of them, a second apart.
  std::string record(sysfs::Tree& tree, int readings = 1, const std::set<std::string>& also = {}) {
    Recorder recorder(tree, [this] { return now_ns_; });
    recorder.find(also);
    for (int reading = 0; reading < readings; ++reading) {
      recorder.read();
      now_ns_ += kSecond;
      if (between_) {
        between_();
      }
    }
    std::string text;
    for (const MachineEntry& entry : recorder.entries()) {
      text += machine_text(entry);
    }
    return text;
  }

  std::int64_t now_ns_ = 0;
  std::function<void()> between_;
};

constexpr const char* kBoard =
    "0444 devices/x/hwmon/hwmon0/name = nct6779\n"
    "0644 devices/x/hwmon/hwmon0/pwm1 = 100\n"
    "0444 devices/x/hwmon/hwmon0/temp1_input ! ENODATA\n"
    "0444 devices/x/hwmon/hwmon0/temp1_label = \n"
    "link class/hwmon/hwmon0 -> ../../devices/x/hwmon/hwmon0\n"
    "link devices/x/hwmon/hwmon0/device -> ../../../x\n";

TEST_F(RecorderTest, HasPermissionsErrorsAndLinks) {
  MemoryTree tree(kBoard);
  EXPECT_EQ(record(tree),
            "0444 devices/x/hwmon/hwmon0/name = nct6779\n"
            "0644 devices/x/hwmon/hwmon0/pwm1 = 100\n"
            "0444 devices/x/hwmon/hwmon0/temp1_input ! ENODATA\n"
            "0444 devices/x/hwmon/hwmon0/temp1_label =\n"
            "link class/hwmon/hwmon0 -> ../../devices/x/hwmon/hwmon0\n"
            "link devices/x/hwmon/hwmon0/device -> ../../../x\n");
}

TEST_F(RecorderTest, MarksWhatThisUserMayNotRead) {
  MemoryTree tree(
      "0400 devices/e/energy_uj = 5\n"
      "0200 devices/e/constraint_0_name = 5\n"
      "link class/powercap/intel-rapl:0 -> ../../devices/e\n");
  tree.superuser = false;
  const std::string text = record(tree);
  EXPECT_NE(text.find("0400 devices/e/energy_uj ! EACCES\n"), std::string::npos) << text;
  EXPECT_NE(text.find("0200 devices/e/constraint_0_name =\n"), std::string::npos) << text;
  tree.superuser = true;
  EXPECT_NE(record(tree).find("0400 devices/e/energy_uj = 5\n"), std::string::npos);
}

TEST_F(RecorderTest, HasLaterAnswersOfWhatHasChanged) {
  MemoryTree tree(kBoard);
  int speed = 100;
  between_ = [&] { tree.put("devices/x/hwmon/hwmon0/pwm1", std::to_string(++speed)); };
  const std::string text = record(tree, 3);
  EXPECT_NE(text.find("0644 devices/x/hwmon/hwmon0/pwm1 = 100\n"
                      "+1.000 devices/x/hwmon/hwmon0/pwm1 = 101\n"
                      "+2.000 devices/x/hwmon/hwmon0/pwm1 = 102\n"),
            std::string::npos)
      << text;
  EXPECT_EQ(std::count(text.begin(), text.end(), '+'), 2);
}

TEST_F(RecorderTest, LeavesSerialNumbersOut) {
  MemoryTree tree(
      "0444 devices/p/power1_serial_number = 12345\n"
      "0444 devices/p/name = power_meter\n"
      "0444 devices/p/serial = 12345\n"
      "0444 devices/p/uevent = DRIVER=acpi\n"
      "link class/hwmon/hwmon0 -> ../../devices/p\n");
  EXPECT_EQ(record(tree, 1, {"devices/p/serial"}),
            "0444 devices/p/name = power_meter\n"
            "link class/hwmon/hwmon0 -> ../../devices/p\n");
}

TEST_F(RecorderTest, PutsNumbersInPlaceOfAddresses) {
  MemoryTree tree(
      "0444 devices/hid-00:1f:20:aa:bb:cc/name = hid_00_1f_20_aa_bb_cc\n"
      "0444 devices/0000:00:1f.2/name = wifi_01:02:03:04:05:06_phy\n"
      "link class/hwmon/hwmon0 -> ../../devices/hid-00:1f:20:aa:bb:cc\n"
      "link class/hwmon/hwmon1 -> ../../devices/0000:00:1f.2\n");
  EXPECT_EQ(record(tree),
            "0444 devices/0000:00:1f.2/name = wifi_address0_phy\n"
            "0444 devices/hid-address1/name = hid_address1\n"
            "link class/hwmon/hwmon0 -> ../../devices/hid-address1\n"
            "link class/hwmon/hwmon1 -> ../../devices/0000:00:1f.2\n");
}

TEST_F(RecorderTest, SaysWhoseTheProcessorsAre) {
  const char* const text =
      "0444 devices/system/cpu/modalias = cpu:type:x86,ven0002fam0019mod0011:\n";
  MemoryTree tree(text);
  EXPECT_EQ(record(tree), text);
}

TEST_F(RecorderTest, HasWhatItIsToldBeside) {
  MemoryTree tree(
      "0444 devices/system/node/a = 1\n"
      "0444 devices/system/node/b = 2\n");
  EXPECT_EQ(record(tree), "");
  EXPECT_EQ(record(tree, 1, {"devices/system/node/b", "devices/system/node", "nowhere"}),
            "0444 devices/system/node/b = 2\n");
}

TEST_F(RecorderTest, OfARecordIsTheSame) {
  for (const std::string& name : all_machines()) {
    MemoryTree tree(read_machine(name));
    const std::string text = record(tree);
    MemoryTree again(text);
    EXPECT_EQ(record(again), text) << name;
  }
}

}  // namespace
}  // namespace linux_machine
