#include "engine/record/kernel_counters.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/machine/machine_file.h"

namespace {

namespace fs = std::filesystem;

class TheKernelsCounters : public testing::Test {
 protected:
  TheKernelsCounters()
      : folder_(fs::path(testing::TempDir()) / ("kernel_counters." + std::to_string(getpid()))) {
    fs::remove_all(folder_);
    fs::create_directories(folder_);
  }
  ~TheKernelsCounters() override {
    std::error_code gone;
    fs::remove_all(folder_, gone);
  }

  void write(const std::string& path, const std::string& text) {
    const fs::path file = folder_ / "devices/system/cpu" / path;
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
  }

  const fs::path folder_;
};

TEST_F(TheKernelsCounters, AreReadOnEveryRecordedMachine) {
  int with_clocks = 0;
  for (const std::string& machine : all_machines()) {
    const fs::path root = folder_ / machine;
    fs::create_directories(root);
    build_machine(read_machine(machine), root);
    const KernelCounters counters(root);
    for (const ProcessorClock& clock : counters.clocks()) {
      if (machine == "grace_server") {  // which was recorded at the least clock that it has
        EXPECT_EQ(clock.khz, 81000) << clock.processor;
      } else {
        EXPECT_GT(clock.khz, 100000) << machine << " " << clock.processor;
      }
      ++with_clocks;
    }
  }
  EXPECT_GT(with_clocks, 20);
}

TEST_F(TheKernelsCounters, GiveTheClockOfEachPolicyOfAHybridMachine) {
  build_machine(read_machine("hybrid_intel"), folder_);
  std::vector<std::pair<int, std::int64_t>> clocks;
  for (const ProcessorClock& clock : KernelCounters(folder_).clocks()) {
    clocks.emplace_back(clock.processor, clock.khz);
  }
  EXPECT_EQ(clocks, (std::vector<std::pair<int, std::int64_t>>{
                        {0, 1900000}, {1, 1900000}, {16, 1400000}, {17, 1400000}}));
}

TEST_F(TheKernelsCounters, AreNoneOnAMachineWithoutThem) {
  build_machine(read_machine("virtual_machine"), folder_);
  EXPECT_TRUE(KernelCounters(folder_).clocks().empty());
  EXPECT_TRUE(KernelCounters(folder_).throttles().empty());
  EXPECT_TRUE(KernelCounters(folder_ / "nowhere").throttles().empty());
}

TEST_F(TheKernelsCounters, OfThrottlingComeByProcessorInOrder) {
  write("cpu10/thermal_throttle/core_throttle_count", "7\n");
  write("cpu10/thermal_throttle/package_throttle_count", "9\n");
  write("cpu2/thermal_throttle/core_throttle_count", "0\n");
  write("cpuidle/thermal_throttle/core_throttle_count", "1\n");
  const KernelCounters counters(folder_);
  EXPECT_EQ(counters.throttles(),
            (std::vector<Throttles>{{.processor = 2, .core = 0, .package = {}},
                                    {.processor = 10, .core = 7, .package = 9}}));
  write("cpu2/thermal_throttle/core_throttle_count", "3\n");
  EXPECT_EQ(counters.throttles().front().core, 3);
}

TEST_F(TheKernelsCounters, LeaveOutNonsenseAndSilence) {
  write("cpufreq/policy0/scaling_cur_freq", "<unknown>\n");
  write("cpufreq/policy1/scaling_cur_freq", "");
  write("cpufreq/policy2/scaling_cur_freq", "-5\n");
  write("cpufreq/policy3/scaling_cur_freq", "800000\n");
  const std::vector<ProcessorClock> clocks = KernelCounters(folder_).clocks();
  ASSERT_EQ(clocks.size(), 1U);
  EXPECT_EQ(clocks.front().processor, 3);
}

}  // namespace
