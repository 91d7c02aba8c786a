#include "engine/loads/memory_plan.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "engine/loads/bytes.h"

namespace loads {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kGiB = 1024 * kMiB;

/// The kernel's folder of a machine's processors, and its file of memory.
class MemoryPlanTest : public testing::Test {
 protected:
  MemoryPlanTest() { fs::create_directories(root_); }
  ~MemoryPlanTest() override { fs::remove_all(root_); }

  void write(const std::string& name, const std::string& text) {
    fs::create_directories((root_ / name).parent_path());
    std::ofstream(root_ / name) << text << "\n";
  }

  void add_cache(const std::string& processor, const std::string& index, const std::string& level,
                 const std::string& type, const std::string& size, const std::string& shared_by) {
    const std::string folder = "cpu/" + processor + "/cache/" + index + "/";
    write(folder + "level", level);
    write(folder + "type", type);
    write(folder + "size", size);
    write(folder + "shared_cpu_list", shared_by);
  }

  MachineMemory read() { return read_machine_memory(root_ / "cpu", root_ / "meminfo"); }

  const fs::path root_ =
      fs::temp_directory_path() / ("memory_plan_test." + std::to_string(getpid()));
};

TEST_F(MemoryPlanTest, AddsUpTheLastCachesOfAllSockets) {
  for (const std::string cpu : {"0", "1", "2", "3"}) {
    const std::string socket = cpu < "2" ? "0-1" : "2-3";
    add_cache("cpu" + cpu, "index0", "1", "Data", "48K", cpu);
    add_cache("cpu" + cpu, "index1", "1", "Instruction", "32K", cpu);
    add_cache("cpu" + cpu, "index2", "2", "Unified", "2048K", cpu);
    add_cache("cpu" + cpu, "index3", "3", "Unified", "30720K", socket);
  }
  write("cpu/cpufreq/policy0", "not a processor");
  write("meminfo", "MemTotal:       999 kB\nMemFree:        1 kB\nMemAvailable:   2097152 kB");
  const MachineMemory memory = read();
  EXPECT_EQ(memory.second_cache, 2 * kMiB);
  EXPECT_EQ(memory.last_cache, 60 * kMiB);
  EXPECT_EQ(memory.available, 2 * kGiB);
}

TEST_F(MemoryPlanTest, SharesTheSecondCacheAmongTheProcessorsThatHaveIt) {
  add_cache("cpu0", "index2", "2", "Unified", "2048K", "0-1");
  add_cache("cpu4", "index2", "2", "Unified", "4M", "4-7,9");
  EXPECT_EQ(read().second_cache, 4 * kMiB / 5);
  EXPECT_EQ(read().last_cache, 6 * kMiB) << "the second level is the last";
}

TEST_F(MemoryPlanTest, AssumesAModestMachineWhereTheKernelSaysNothing) {
  const MachineMemory memory = read();
  EXPECT_EQ(memory.second_cache, 256 * kKiB);
  EXPECT_EQ(memory.last_cache, 32 * kMiB);
  EXPECT_EQ(memory.available, kGiB);
}

TEST_F(MemoryPlanTest, TakesNonsenseForNothing) {
  add_cache("cpu0", "index2", "2", "Unified", "big", "");
  add_cache("cpu0", "index3", "three", "Unified", "4M", "0");
  EXPECT_EQ(read().second_cache, 256 * kKiB);
  EXPECT_EQ(read().last_cache, 32 * kMiB);
}

TEST(PlanMemory, ThreadsOfOneLoadTogetherExceedTheLastCaches) {
  const MachineMemory machine{2 * kMiB, 260 * kMiB, 24 * kGiB};
  for (const std::size_t threads : {1U, 2U, 16U, 100U}) {
    const MemoryPlan plan = plan_memory(machine, threads, threads);
    EXPECT_NEAR(static_cast<double>(plan.mem * threads), 520.0 * kMiB, 1.0 * kMiB) << threads;
    EXPECT_LT(plan.mix_last * threads, 260 * kMiB) << threads;
    EXPECT_EQ(plan.cache, kMiB);
  }
}

TEST(PlanMemory, AllThreadsTogetherLeaveHalfOfTheMemory) {
  const MachineMemory machine{2 * kMiB, 260 * kMiB, 256 * kMiB};
  const MemoryPlan plan = plan_memory(machine, 2, 4);
  EXPECT_LE(4 * (plan.mem + plan.mix_last), 128 * kMiB);
  EXPECT_GT(4 * (plan.mem + plan.mix_last), 100 * kMiB);
}

TEST(PlanMemory, WithLittleMemoryALoadOfItStaysInTheCaches) {
  EXPECT_TRUE(stays_in_caches({2 * kMiB, 260 * kMiB, 256 * kMiB}, 2, 2));
  EXPECT_FALSE(stays_in_caches({2 * kMiB, 260 * kMiB, 24 * kGiB}, 2, 2));
}

TEST(PlanMemory, AThousandThreadsOnASmallMachineHaveALittleEach) {
  const MemoryPlan plan = plan_memory({64 * kKiB, kMiB, 16 * kMiB}, 1000, 1000);
  EXPECT_EQ(plan.mem, 64 * kKiB);
  EXPECT_EQ(plan.cache, 64 * kKiB);
  EXPECT_EQ(plan.mix_last, 64 * kKiB);
}

}  // namespace
}  // namespace loads
