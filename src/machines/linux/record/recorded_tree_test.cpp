#include "machines/linux/record/recorded_tree.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "machines/linux/sysfs/attribute.h"

namespace linux_machine {
namespace {

class RecordedTreeTest : public testing::Test {
 protected:
  void machine(const std::string& text) {
    const auto entries = read_machine_text(text);
    ASSERT_TRUE(entries) << entries.failure().message;
    tree_ = std::make_unique<RecordedTree>(*entries, [this] { return now_ns_; });
  }

  std::string text(const std::string& path) {
    const auto read = sysfs::read_text(*tree_, path);
    return read ? *read : read.failure().message;
  }

  std::string text_at(double seconds, const std::string& path) {
    now_ns_ = static_cast<std::int64_t>(seconds * 1e9);
    return text(path);
  }

  std::int64_t now_ns_ = 0;
  std::unique_ptr<RecordedTree> tree_;
};

TEST_F(RecordedTreeTest, SaysWhatWasRecorded) {
  machine(
      "0444 a/name = one\n"
      "0444 a/empty =\n"
      "0444 a/broken ! ENODATA\n"
      "0400 a/roots ! EACCES\n"
      "0400 a/known = 7\n"
      "0200 a/written =\n");
  EXPECT_EQ(text("a/name"), "one");
  EXPECT_EQ(text("a/empty"), "reading a/empty: it is empty");
  EXPECT_EQ(text("a/broken"), "reading a/broken: No data available");
  EXPECT_EQ(text("a/roots"), "opening a/roots: Permission denied");
  EXPECT_EQ(text("a/known"), "7");
  EXPECT_EQ(text("a/written"), "reading a/written: Input/output error");
  EXPECT_EQ(text("a/none"), "opening a/none: No such file or directory");
  EXPECT_EQ(tree_->permissions("a/known"), 0400);
  EXPECT_EQ(tree_->permissions("a/none"), -ENOENT);
}

TEST_F(RecordedTreeTest, FollowsLinks) {
  machine(
      "0444 devices/x/hwmon/hwmon0/name = one\n"
      "link class/hwmon/hwmon0 -> ../../devices/x/hwmon/hwmon0\n"
      "link devices/x/hwmon/hwmon0/device -> ../../../x\n"
      "link devices/x/hwmon/hwmon0/up -> ..\n"
      "link class/round -> square\n"
      "link class/square -> round\n");
  EXPECT_EQ(text("class/hwmon/hwmon0/name"), "one");
  EXPECT_EQ(text("class/hwmon/hwmon0/device/hwmon/hwmon0/name"), "one");
  EXPECT_EQ(tree_->real_path("class/hwmon/hwmon0/device"), "devices/x");
  EXPECT_EQ(tree_->real_path("class/hwmon/hwmon0/up"), "devices/x/hwmon");
  EXPECT_EQ(tree_->real_path("class/hwmon/hwmon1"), "");
  EXPECT_EQ(tree_->real_path("class/round/x"), "");
  EXPECT_EQ(sysfs::list(*tree_, "class"), (std::vector<std::string>{"hwmon", "round", "square"}));
  EXPECT_EQ(sysfs::list(*tree_, "class/hwmon/hwmon0"),
            (std::vector<std::string>{"device", "name", "up"}));
  EXPECT_TRUE(sysfs::list(*tree_, "nowhere").empty());
}

TEST_F(RecordedTreeTest, ChangesAsTheMachineDid) {
  machine(
      "0444 temp = 40\n"
      "+1.0 temp = 41\n"
      "+2.0 temp ! EIO\n");
  EXPECT_EQ(text_at(0, "temp"), "40");
  EXPECT_EQ(text_at(0.99, "temp"), "40");
  EXPECT_EQ(text_at(1, "temp"), "41");
  EXPECT_EQ(text_at(9, "temp"), "reading temp: Input/output error");
}

TEST_F(RecordedTreeTest, CountsEnergyEvenlyAndGoesOnAsItDidLast) {
  machine(
      "0444 energy_uj = 1000\n"
      "+1.0 energy_uj = 2000\n"
      "+2.0 energy_uj = 5000\n"
      "0444 wrapped/energy_uj = 9000\n"
      "+1.0 wrapped/energy_uj = 10\n"
      "0444 huge/energy_uj = 1\n"
      "+0.001 huge/energy_uj = 9000000000000000000\n");
  EXPECT_EQ(text_at(0, "energy_uj"), "1000");
  EXPECT_EQ(text_at(0.25, "energy_uj"), "1250");
  EXPECT_EQ(text_at(1.5, "energy_uj"), "3500");
  EXPECT_EQ(text_at(3, "energy_uj"), "8000");
  EXPECT_EQ(text_at(0.5, "wrapped/energy_uj"), "9000");
  EXPECT_EQ(text_at(5, "huge/energy_uj"), "9000000000000000000");
}

TEST_F(RecordedTreeTest, IsNotChangedByAnybody) {
  machine("0666 pwm1 = 100\n");
  EXPECT_FALSE(sysfs::write_text(*tree_, "pwm1", "255"));
  EXPECT_EQ(text("pwm1"), "100");
}

}  // namespace
}  // namespace linux_machine
