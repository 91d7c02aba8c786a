#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "machines/linux/drivers/machine.h"
#include "support/machine/machine_file.h"
#include "support/machine/test_surroundings.h"

// A machine of files, some of which do not answer, as chips behind a dead bus. Without a limit on
// waiting, none of these tests would end.

namespace linux_machine {
namespace {

constexpr const char* kSecondPackage = "devices/platform/coretemp.1/hwmon/hwmon2/temp1_input";
constexpr const char* kBoard = "devices/platform/nct6775.656/hwmon/hwmon3/";

class BlockedAttribute : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(folder_);
    build_machine(read_machine("two_socket_intel"), folder_);
    for (int channel = 1; channel <= 40; ++channel) {
      const std::string stem = folder_ + "/" + kBoard + "temp" + std::to_string(channel);
      std::ofstream(stem + "_input") << "40000\n";
      std::ofstream(stem + "_label") << "AUXTIN" << channel << "\n";
    }
  }
  void TearDown() override {
    for (const std::string& path : blocked_) {
      const int end = open(path.c_str(), O_RDWR | O_NONBLOCK);
      [[maybe_unused]] const ssize_t written = write(end, "7\n", 2);
      close(end);
    }
  }

  void block(const std::string& attribute) {
    blocked_.push_back(folder_ + "/" + attribute);
    std::filesystem::remove(blocked_.back());
    ASSERT_EQ(mkfifo(blocked_.back().c_str(), 0644), 0);
  }

  /// They are never destroyed: whoever has been given up may still be in them.
  static sysfs::Tree& tree(const std::string& folder) {
    static auto& all = *new std::vector<std::unique_ptr<sysfs::Folder>>;
    return *all.emplace_back(std::make_unique<sysfs::Folder>(folder, 1));
  }
  /// The value of a key, or the message in place of it.
  static std::string value(const Machine& machine, const std::string& name) {
    for (const Key& key : machine.keys()) {
      if (key.name() == name) {
        const auto value = key.connect ? key.connect()->read() : key.read();
        return value ? std::to_string(std::lround(*value)) : value.failure().message;
      }
    }
    return "no key";
  }

  MemoryTree none_;
  TestSurroundings place_{none_};
  const std::string folder_ = place_.folder() + "/sys";
  std::vector<std::string> blocked_;
};

TEST_F(BlockedAttribute, CostsItsOwnKeyAndNoOther) {
  block(kSecondPackage);
  const TestSurroundings world(tree(folder_));
  const Machine machine(world.surroundings);
  const std::string silent = "opening " + std::string(kSecondPackage) + ": no answer within 1 s";
  EXPECT_EQ(value(machine, "TC0D"), "55");
  EXPECT_EQ(value(machine, "TC1D"), silent);
  EXPECT_EQ(value(machine, "TC1D"), silent) << "and is not asked again";
  EXPECT_EQ(value(machine, "TC0P"), silent) << "it might be the hottest";
  EXPECT_EQ(value(machine, "F0Ac"), "1098");
}

TEST_F(BlockedAttribute, CostsNoMoreIfItIsOneOfForty) {
  block(std::string(kBoard) + "temp7_label");
  const TestSurroundings world(tree(folder_));
  const Machine machine(world.surroundings);
  EXPECT_EQ(value(machine, "TC0D"), "55");
  EXPECT_EQ(value(machine, "TC1D"), "57");
}

}  // namespace
}  // namespace linux_machine
