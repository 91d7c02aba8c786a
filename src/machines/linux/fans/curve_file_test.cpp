#include "machines/linux/fans/curve_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

const FanChannel kFan = [] {
  FanChannel fan;
  fan.folder = "devices/platform/nct6775.656/hwmon/hwmon3";
  fan.device = "devices/platform/nct6775.656";
  fan.chip = "nct6779";
  fan.channel = 2;
  return fan;
}();

class CurveFileTest : public testing::Test {
 protected:
  mode_t mode_of(const std::string& path) {
    struct stat status {};
    stat(path.c_str(), &status);
    return status.st_mode & 0777U;
  }
  void write(const std::string& text) {
    std::filesystem::create_directories(folder_);
    std::ofstream(curve_path(folder_, kFan)) << text;
  }

  MemoryTree tree_;
  TestSurroundings surroundings_{tree_};
  const std::string folder_ = surroundings_.surroundings.curves_folder;
  const Curve curve_ =
      *Curve::make({{48, 620}, {128, 1210}, {255, 1980}}, Curve::Stop::stops_and_starts, 70);
};

TEST_F(CurveFileTest, IsTextForPeople) {
  EXPECT_EQ(curve_text(kFan, curve_),
            "vorn fan curve 1\n"
            "device devices/platform/nct6775.656\n"
            "chip nct6779\n"
            "fan 2\n"
            "stops-and-starts yes\n"
            "start-pwm 70\n"
            "48 620\n"
            "128 1210\n"
            "255 1980\n");
}

TEST_F(CurveFileTest, IsReadAsItWasSaved) {
  ASSERT_TRUE(save_curve(folder_, kFan, curve_text(kFan, curve_)));
  const auto loaded = load_curve(folder_, kFan);
  ASSERT_TRUE(loaded && *loaded);
  EXPECT_EQ(curve_text(kFan, **loaded), curve_text(kFan, curve_));
  EXPECT_EQ(mode_of(folder_), 0755U);
  EXPECT_EQ(mode_of(curve_path(folder_, kFan)), 0644U);
}

TEST_F(CurveFileTest, RemembersAFanThatDidNotTurn) {
  EXPECT_EQ(load_measured(folder_, kFan), Measured::not_yet);
  ASSERT_TRUE(save_curve(folder_, kFan, still_text(kFan)));
  EXPECT_EQ(load_measured(folder_, kFan), Measured::stands);
  const auto loaded = load_curve(folder_, kFan);
  ASSERT_TRUE(loaded) << loaded.failure().message;
  EXPECT_FALSE(loaded->has_value());
  ASSERT_TRUE(save_curve(folder_, kFan, curve_text(kFan, curve_)));
  EXPECT_EQ(load_measured(folder_, kFan), Measured::turns);
  write(still_text(kFan) + "x\n");
  EXPECT_EQ(load_measured(folder_, kFan), Measured::not_yet);
  EXPECT_FALSE(load_curve(folder_, kFan));
}

TEST_F(CurveFileTest, IsReplacedAsAWhole) {
  ASSERT_TRUE(save_curve(folder_, kFan, curve_text(kFan, curve_)));
  ASSERT_TRUE(save_curve(folder_, kFan, curve_text(kFan, Curve::proportional(1000))));
  EXPECT_FALSE((*load_curve(folder_, kFan))->can_stop());
  const std::filesystem::directory_iterator files(folder_);
  EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

TEST_F(CurveFileTest, AFanThatWasNotMeasuredHasNone) {
  const auto loaded = load_curve(folder_, kFan);
  ASSERT_TRUE(loaded);
  EXPECT_FALSE(loaded->has_value());
}

TEST_F(CurveFileTest, DamageNamesTheFileAndTheRemedy) {
  const std::string whole = curve_text(kFan, curve_);
  std::string other_fan = whole;
  other_fan.replace(other_fan.find("fan 2"), 5, "fan 3");
  for (const std::string& text :
       {std::string(), std::string("vorn fan curve 2\n"), whole + "300 9000\n", whole + "x\n",
        whole + "60 fast\n", whole + "fan 2\n", other_fan, whole.substr(0, whole.find("48")),
        whole.substr(0, whole.find("start-pwm")), std::string(100'000, '\xff')}) {
    write(text);
    const auto loaded = load_curve(folder_, kFan);
    ASSERT_FALSE(loaded) << text;
    EXPECT_EQ(loaded.failure().trouble, sysfs::Trouble::nonsense);
    EXPECT_NE(loaded.failure().message.find(curve_path(folder_, kFan)), std::string::npos);
    EXPECT_NE(loaded.failure().message.find("vorn-keys --calibrate"), std::string::npos);
  }
}

TEST_F(CurveFileTest, EveryTruncationOfAFileIsACurveOrAnError) {
  const std::string whole = curve_text(kFan, curve_);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    std::string wrong;
    const auto curve = parse_curve(whole.substr(0, length), kFan, wrong);
    EXPECT_NE(curve.has_value(), !wrong.empty()) << length;
  }
}

TEST_F(CurveFileTest, DifferentFansHaveDifferentFiles) {
  FanChannel one = kFan;
  FanChannel other = kFan;
  one.device = "devices/a/b";
  other.device = "devices/a_b";
  EXPECT_NE(curve_path("", one), curve_path("", other));
  other = one;
  other.channel = 3;
  EXPECT_NE(curve_path("", one), curve_path("", other));
  other = one;
  other.folder = "devices/a/b/hwmon/hwmon7";
  EXPECT_EQ(curve_path("", one), curve_path("", other));
}

TEST_F(CurveFileTest, AFolderThatCannotBeMadeIsNamed) {
  const auto saved = save_curve("/proc/no-such/curves", kFan, curve_text(kFan, curve_));
  ASSERT_FALSE(saved);
  EXPECT_NE(saved.failure().message.find("/proc/no-such/curves"), std::string::npos);
}

}  // namespace
}  // namespace linux_machine
