#include "Process/free_memory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr double kMegabyte = 1024.0 * 1024.0;

class FreeMemory : public testing::Test {
 protected:
  FreeMemory() {
    std::string name = fs::temp_directory_path() / "vorn-test-XXXXXX";
    root_ = mkdtemp(name.data());
  }
  ~FreeMemory() override { fs::remove_all(root_); }

  void put(const std::string& path, const std::string& text) {
    fs::create_directories((root_ / path).parent_path());
    std::ofstream(root_ / path) << text;
  }
  void put_memory() {
    put("proc/meminfo", "MemTotal:  8388608 kB\nMemFree:  1024 kB\nMemAvailable:  4194304 kB\n");
  }

  fs::path root_;
};

TEST_F(FreeMemory, IsWhatTheMachineHasAvailable) {
  put_memory();
  EXPECT_EQ(process::free_memory(root_), 4096 * kMegabyte);
}

TEST_F(FreeMemory, IsTheLimitOfTheGroupIfThatIsLess) {
  put_memory();
  put("proc/self/cgroup", "4:memory:/old\n0::/a.slice/run\n");
  put("sys/fs/cgroup/a.slice/run/memory.max", "1073741824\n");
  EXPECT_EQ(process::free_memory(root_), 1024 * kMegabyte);
}

TEST_F(FreeMemory, IsTheLimitOfAGroupFartherUp) {
  put_memory();
  put("proc/self/cgroup", "0::/a.slice/run\n");
  put("sys/fs/cgroup/a.slice/run/memory.max", "max\n");
  put("sys/fs/cgroup/a.slice/memory.max", "536870912\n");
  EXPECT_EQ(process::free_memory(root_), 512 * kMegabyte);
  put("sys/fs/cgroup/memory.max", "268435456\n");  // the root that a container sees
  EXPECT_EQ(process::free_memory(root_), 256 * kMegabyte);
}

TEST_F(FreeMemory, IsTheMachinesIfTheLimitIsMore) {
  put_memory();
  put("proc/self/cgroup", "0::/\n");
  put("sys/fs/cgroup/memory.max", "1099511627776\n");
  EXPECT_EQ(process::free_memory(root_), 4096 * kMegabyte);
}

TEST_F(FreeMemory, IsNotKnownOfAKernelThatDoesNotTell) {
  EXPECT_EQ(process::free_memory(root_), std::nullopt);
}

TEST(FreeMemoryOfThisMachine, IsSome) {
  EXPECT_GT(process::free_memory().value_or(0.0), kMegabyte);
}

}  // namespace
