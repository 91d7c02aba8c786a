#include "support/machine/late_cpufreq.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "machines/linux/sysfs/attribute.h"
#include "support/machine/cpufreq_fixture.h"
#include "support/machine/machine_file.h"

namespace linux_machine {
namespace {

const std::string kMin = kCpufreq + "policy0/scaling_min_freq";
const std::string kMax = kCpufreq + "policy0/scaling_max_freq";

int write(CpufreqMachine& machine, const std::string& path, const std::string& text) {
  const sysfs::Result<sysfs::Done> written = sysfs::write_text(machine.kernel, path, text);
  return written ? 0 : written.failure().error;
}

TEST(LateCpufreq, AppliesALimitAfterTheDelay) {
  CpufreqMachine machine(turbo_machine());
  EXPECT_EQ(write(machine, kMin, "3000000"), 0);
  EXPECT_EQ(machine.limits(0), "400000 4700000");
  machine.test.now_ns += CpufreqMachine::kDelayNs - 1;
  EXPECT_EQ(machine.limits(0), "400000 4700000");
  machine.test.now_ns += 1;
  EXPECT_EQ(machine.limits(0), "3000000 4700000");
}

TEST(LateCpufreq, IsNotPutOffByAskingAgain) {
  CpufreqMachine machine(turbo_machine());
  write(machine, kMin, "3000000");
  machine.test.now_ns += CpufreqMachine::kDelayNs / 2;
  write(machine, kMin, "3100000");
  EXPECT_EQ(machine.limits(0), "400000 4700000");
  machine.test.now_ns += CpufreqMachine::kDelayNs / 2;
  EXPECT_EQ(machine.limits(0), "3100000 4700000");
}

TEST(LateCpufreq, ClampsWhatItAccepts) {
  CpufreqMachine machine(turbo_machine());
  write(machine, kMin, "100");
  write(machine, kMax, "9900000");
  machine.test.now_ns += CpufreqMachine::kDelayNs;
  EXPECT_EQ(machine.limits(0), "400000 4700000");
  EXPECT_EQ(write(machine, kMin, "3000000"), 0);
  EXPECT_EQ(write(machine, kMax, "2000000"), 0);
  machine.test.now_ns += CpufreqMachine::kDelayNs;
  EXPECT_EQ(machine.limits(0), "2000000 2000000");
  EXPECT_EQ(write(machine, kMax, "fast"), EINVAL);
}

TEST(LateCpufreq, BeforeQueuesRefusesAMinimumAboveTheMaximum) {
  CpufreqMachine machine(turbo_machine(), LateCpufreq::Kernel::applies);
  EXPECT_EQ(write(machine, kMax, "2000000"), 0);
  EXPECT_EQ(machine.limits(0), "400000 2000000");
  EXPECT_EQ(write(machine, kMin, "2100000"), EINVAL);
  EXPECT_EQ(write(machine, kMin, "1900000"), 0);
  EXPECT_EQ(write(machine, kMax, "1800000"), EINVAL);
  EXPECT_EQ(machine.limits(0), "1900000 2000000");
}

TEST(LateCpufreq, RefusesGovernorsThatItDoesNotHave) {
  CpufreqMachine machine(turbo_machine());
  EXPECT_EQ(write(machine, kCpufreq + "policy0/scaling_governor", "ondemand"), EINVAL);
  EXPECT_EQ(write(machine, kCpufreq + "policy0/scaling_governor", "performance"), 0);
}

TEST(LateCpufreq, HoldsThePreferenceWhileTheGovernorIsPerformance) {
  CpufreqMachine machine(performance_machine());
  const std::string preference = kCpufreq + "policy0/energy_performance_preference";
  EXPECT_EQ(machine.read(preference), "performance");
  EXPECT_EQ(write(machine, preference, "power"), EBUSY);
  EXPECT_EQ(write(machine, kCpufreq + "policy0/scaling_governor", "powersave"), 0);
  EXPECT_EQ(machine.read(preference), "balance_power");
  EXPECT_EQ(write(machine, preference, "power"), 0);
  EXPECT_EQ(machine.read(preference), "power");
}

TEST(LateCpufreq, WithoutTurboEndsAtTheBaseFrequency) {
  CpufreqMachine machine(turbo_machine());
  EXPECT_EQ(write(machine, kNoTurbo, "1"), 0);
  EXPECT_EQ(machine.read(kCpufreq + "policy0/cpuinfo_max_freq"), "2000000");
  EXPECT_EQ(machine.limits(0), "400000 2000000");
  EXPECT_EQ(write(machine, kNoTurbo, "0"), 0);
  EXPECT_EQ(machine.limits(0), "400000 4700000");
}

TEST(LateCpufreq, IsOneMachineForAllThatStandBeforeIt) {
  CpufreqMachine first(turbo_machine());
  LateCpufreq second(
      first.tree, [&] { return first.test.now_ns.load(); }, 0);
  write(first, kMin, "3000000");
  EXPECT_EQ(*sysfs::read_text(second, kMin), "400000");
  first.test.now_ns += CpufreqMachine::kDelayNs;
  EXPECT_EQ(*sysfs::read_text(second, kMin), "3000000");
}

// Files keep the end of a longer text; limits and switches must not.
TEST(LateCpufreq, StandsBeforeFilesToo) {
  CpufreqMachine memory(turbo_machine());
  build_machine(LateCpufreq::with_moving(turbo_machine()), memory.test.folder());
  sysfs::Folder files(memory.test.folder());
  std::int64_t now = 1;
  LateCpufreq kernel(
      files, [&] { return now; }, 10);
  EXPECT_EQ(kernel.snapshot(), memory.kernel.snapshot());
  ASSERT_TRUE(sysfs::write_text(kernel, kMax, "500000"));
  ASSERT_TRUE(sysfs::write_text(kernel, kCpufreq + "policy0/scaling_governor", "performance"));
  ASSERT_TRUE(sysfs::write_text(kernel, kCpufreq + "policy0/scaling_governor", "powersave"));
  now += 10;
  EXPECT_EQ(*sysfs::read_text(kernel, kMax), "500000");
  EXPECT_EQ(*sysfs::read_text(kernel, kCpufreq + "policy0/scaling_governor"), "powersave");
  ASSERT_TRUE(sysfs::write_text(kernel, kMax, "4700000"));
  now += 10;
  EXPECT_EQ(kernel.snapshot(), memory.kernel.snapshot());
}

}  // namespace
}  // namespace linux_machine
